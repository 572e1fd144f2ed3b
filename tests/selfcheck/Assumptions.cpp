#include "tests/selfcheck/Assumptions.h"

#include <windows.h>

#include <string_view>

namespace {

std::string_view Document()
{
    HRSRC const place = FindResourceW(nullptr, L"WINDOWS_MD", RT_RCDATA);
    HGLOBAL const data = place == nullptr ? nullptr : LoadResource(nullptr, place);
    return data == nullptr ? std::string_view()
                           : std::string_view(static_cast<const char*>(LockResource(data)),
                                              SizeofResource(nullptr, place));
}

std::string Trimmed(std::string_view text)
{
    const std::size_t first = text.find_first_not_of(" \r");
    const std::size_t last = text.find_last_not_of(" \r");
    return first == std::string_view::npos ? std::string()
                                           : std::string(text.substr(first, last - first + 1));
}

std::vector<std::string> CellsOf(std::string_view line)
{
    std::vector<std::string> cells;
    for (std::size_t at = 0; at != std::string_view::npos && at + 1 < line.size();) {
        const std::size_t end = line.find('|', at + 1);
        cells.push_back(Trimmed(line.substr(at + 1, end == std::string_view::npos ? end : end - at - 1)));
        at = end;
    }
    return cells;
}

// A row of assumptions begins with its id in backticks and ends with its stage.
bool IsRow(std::string_view line)
{
    return line.starts_with("| `");
}

int StageOf(const std::string& proof)
{
    return proof.size() == 1 && proof[0] >= '0' && proof[0] <= '4' ? proof[0] - '0' : Assumption::kNoStage;
}

}  // namespace

std::vector<Assumption> ReadAssumptions()
{
    std::vector<Assumption> assumptions;
    std::string_view rest = Document();
    while (!rest.empty()) {
        const std::size_t end = rest.find('\n');
        const std::string_view line = rest.substr(0, end);
        if (IsRow(line)) {
            const std::vector<std::string> cells = CellsOf(line);
            const std::string& id = cells.front();
            assumptions.push_back({id.substr(1, id.size() - 2), cells.at(1), StageOf(cells.back())});
        }
        rest = end == std::string_view::npos ? std::string_view() : rest.substr(end + 1);
    }
    return assumptions;
}
