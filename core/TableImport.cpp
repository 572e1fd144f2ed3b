#include "core/TableImport.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <unordered_map>
#include <utility>

#include "core/ColumnHeaders.h"
#include "core/TableText.h"
#include "core/TextTools.h"

namespace {

using Cells = std::vector<std::wstring>;

constexpr std::size_t kFileCell = 1;
constexpr std::size_t kBomCell = 2;

// Finds rows by their original names.
class RowIndex
{
public:
    RowIndex(const std::vector<UTtab_entry>& rows, NameFolding fold) : m_fold(fold)
    {
        m_exact.reserve(rows.size());
        m_folded.reserve(rows.size());
        for (int row = 0; row < static_cast<int>(rows.size()); ++row) {
            const std::wstring& name = rows[static_cast<std::size_t>(row)].strOriginal;
            m_exact[name].push_back(row);
            m_folded[fold(name)].push_back(row);
        }
    }

    // The rows with this name, or else with this name trimmed. The untrimmed name is tried first, because a
    // file name may begin with a blank. There may be several rows: a map file edited by hand may name a file
    // twice.
    [[nodiscard]] const std::vector<int>& Find(std::wstring_view name) const
    {
        const std::vector<int>& found = FindAnyCase(name);
        return found.empty() ? FindAnyCase(TrimView(name)) : found;
    }

private:
    // The rows with exactly this name, or else those whose name differs in case only.
    [[nodiscard]] const std::vector<int>& FindAnyCase(std::wstring_view name) const
    {
        if (const auto exact = m_exact.find(name); exact != m_exact.end()) {
            return exact->second;
        }
        const auto folded = m_folded.find(m_fold(name));
        return folded != m_folded.end() ? folded->second : kNone;
    }

    inline static const std::vector<int> kNone;

    NameFolding m_fold;
    std::unordered_map<std::wstring_view, std::vector<int>> m_exact;
    std::unordered_map<std::wstring, std::vector<int>> m_folded;
};

bool IsControlCharacter(wchar_t character)
{
    return character < L' ' || (character >= L'\u007F' && character <= L'\u009F');
}

// Replaces every control character with a blank: the map file cannot hold a line break, and a NUL would end
// the text in the list. Returns whether any was replaced.
bool ReplaceControlCharacters(std::wstring& text)
{
    bool replaced = false;
    for (wchar_t& character : text) {
        if (IsControlCharacter(character)) {
            character = L' ';
            replaced = true;
        }
    }
    return replaced;
}

// Whether the row already has the names in these cells; a missing cell counts as equal.
bool Has(const UTtab_entry& row, const Cells& cells)
{
    return (cells.size() <= kFileCell || cells[kFileCell] == row.strRenamed) &&
           (cells.size() <= kBomCell || cells[kBomCell] == row.strBomName);
}

class Import
{
public:
    Import(const std::vector<UTtab_entry>& rows, const NameCase& names)
        : m_rows(rows), m_names(names), m_index(rows, names.fold), m_cells(rows.size()), m_twice(rows.size())
    {
    }

    TableImport Run(std::wstring_view text)
    {
        CTableReader reader(text);
        Cells cells;
        for (bool first = true; reader.ReadRow(cells, kColumnHeaders.size()); first = false) {
            Take(cells, first);
        }
        for (std::size_t row = 0; row < m_rows.size(); ++row) {
            ProposeNames(row);
        }
        KeepNamesUnique();
        return Result();
    }

private:
    // The names proposed for a row; an unchanged name is the present one.
    struct Proposal
    {
        RowNames names;
        int cleaned = 0;
        bool kept = false;  // the row keeps its names because the new file name is not unique
    };

    // ---- Reading

    void Take(const Cells& cells, bool first)
    {
        const std::vector<int>& found = m_index.Find(cells.front());
        if (found.size() == 1) {
            TakeFor(static_cast<std::size_t>(found.front()), cells);
        } else if (!found.empty()) {
            const bool known = std::ranges::any_of(
                found, [&](int row) { return Has(m_rows[static_cast<std::size_t>(row)], cells); });
            m_result.ambiguous += known ? 0 : 1;
        } else if (!(first && IsFirstColumnHeader(cells.front()))) {
            ++m_result.unknown;
        }
    }

    // If the text gives a row two different sets of names, neither is known to be right, and the row keeps
    // its names.
    void TakeFor(std::size_t row, Cells cells)
    {
        cells.front().clear();  // not compared: may differ in case, or in white space around it
        if (m_cells[row].empty()) {
            m_cells[row] = std::move(cells);
        } else if (m_cells[row] != cells && !m_twice[row]) {
            m_twice[row] = true;
            ++m_result.ambiguous;
        }
    }

    // ---- Names

    void ProposeNames(std::size_t row)
    {
        const Cells& cells = m_cells[row];
        if (cells.empty() || m_twice[row] || Has(m_rows[row], cells)) {
            return;
        }
        Proposal proposal{{static_cast<int>(row), m_rows[row].strRenamed, m_rows[row].strBomName}};
        if (cells.size() > kFileCell) {
            ProposeFileName(cells[kFileCell], proposal);
        }
        if (cells.size() > kBomCell) {
            ProposeBomName(cells[kBomCell], proposal);
        }
        m_proposals.push_back(std::move(proposal));
    }

    void ProposeFileName(std::wstring text, Proposal& proposal) const
    {
        if (text == proposal.names.renamed) {
            return;
        }
        const bool replaced = ReplaceControlCharacters(text);
        if (std::optional<EditedName> edited = EditedFileName(std::move(text), m_names.equal)) {
            proposal.names.renamed = std::move(edited->text);
            proposal.cleaned += replaced || edited->cleaned ? 1 : 0;
        }
    }

    static void ProposeBomName(std::wstring text, Proposal& proposal)
    {
        if (text == proposal.names.bomName) {
            return;
        }
        const bool replaced = ReplaceControlCharacters(text);
        proposal.cleaned += SanitizeFeatureName(text) > 0 || replaced ? 1 : 0;
        proposal.names.bomName = std::move(text);
    }

    // ---- Uniqueness

    [[nodiscard]] const std::wstring& OldName(const Proposal& proposal) const
    {
        return m_rows[static_cast<std::size_t>(proposal.names.row)].strRenamed;
    }
    [[nodiscard]] bool Renames(const Proposal& proposal) const
    {
        return proposal.names.renamed != OldName(proposal);
    }

    // Compares the names as they will be, so that rows may exchange them. If a row has to keep its old name
    // and another row was to get that name, the other row keeps its old name, too.
    void KeepNamesUnique()
    {
        CountNames();
        std::vector<Proposal*> doubtful;
        for (auto& [name, proposals] : m_proposalsOf) {
            doubtful.insert(doubtful.end(), proposals.begin(), proposals.end());
        }
        while (!doubtful.empty()) {
            std::erase_if(doubtful, [this](const Proposal* each) {
                return each->kept || m_uses[each->names.renamed] == 1;
            });
            std::vector<Proposal*> next;
            // Rows whose new names would not be unique all keep their old names: no row has a better claim.
            for (Proposal* const each : doubtful) {
                Keep(*each, next);
            }
            doubtful = std::move(next);
        }
    }

    void CountNames()
    {
        for (const UTtab_entry& row : m_rows) {
            ++m_uses[row.strRenamed];
        }
        for (Proposal& proposal : m_proposals) {
            if (Renames(proposal)) {
                --m_uses[OldName(proposal)];
                ++m_uses[proposal.names.renamed];
                m_proposalsOf[proposal.names.renamed].push_back(&proposal);
            }
        }
    }

    // Makes the row keep its names. Adds to `next` the proposals that would give its old file name to another
    // row.
    void Keep(Proposal& proposal, std::vector<Proposal*>& next)
    {
        proposal.kept = true;
        --m_uses[proposal.names.renamed];
        ++m_uses[OldName(proposal)];
        if (const auto others = m_proposalsOf.find(OldName(proposal)); others != m_proposalsOf.end()) {
            next.insert(next.end(), others->second.begin(), others->second.end());
            m_proposalsOf.erase(others);  // once is enough: all these rows keep their old names
        }
    }

    // ---- Result

    TableImport Result()
    {
        for (Proposal& proposal : m_proposals) {
            if (proposal.kept) {
                ++m_result.notUnique;
                continue;
            }
            m_result.cleaned += proposal.cleaned;
            if (Renames(proposal) ||
                proposal.names.bomName != m_rows[static_cast<std::size_t>(proposal.names.row)].strBomName) {
                m_result.changes.push_back(std::move(proposal.names));
            }
        }
        return std::move(m_result);
    }

    const std::vector<UTtab_entry>& m_rows;
    NameCase m_names;
    RowIndex m_index;
    std::vector<Cells> m_cells;  // of the text, for each row of the table
    std::vector<bool> m_twice;   // the text names the row twice, with different cells
    std::vector<Proposal> m_proposals;
    std::unordered_map<std::wstring_view, int>
        m_uses;  // how many rows will have each file name after the import
    std::unordered_map<std::wstring_view, std::vector<Proposal*>>
        m_proposalsOf;  // the proposals that give a row this file name
    TableImport m_result;
};

}  // namespace

TableImport ImportTable(const std::vector<UTtab_entry>& rows, std::wstring_view text, const NameCase& names)
{
    return Import(rows, names).Run(text);
}
