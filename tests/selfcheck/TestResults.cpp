#include "tests/selfcheck/TestResults.h"

#include <array>
#include <utility>

namespace {

std::string Unescaped(std::string text)
{
    constexpr std::array<std::pair<const char*, const char*>, 7> kEntities{{{"&lt;", "<"},
                                                                            {"&gt;", ">"},
                                                                            {"&quot;", "\""},
                                                                            {"&apos;", "'"},
                                                                            {"&#x0A;", " "},
                                                                            {"&#x0D;", ""},
                                                                            {"&amp;", "&"}}};
    for (const auto& [entity, character] : kEntities) {
        for (std::size_t at = text.find(entity); at != std::string::npos; at = text.find(entity, at + 1)) {
            text.replace(at, std::string(entity).size(), character);
        }
    }
    return text;
}

// The value of an attribute of the element at the beginning of the text; empty without one.
std::string Attribute(const std::string& element, const std::string& name)
{
    const std::string lead = " " + name + "=\"";
    const std::size_t begin = element.find(lead);
    if (begin == std::string::npos) {
        return {};
    }
    const std::size_t value = begin + lead.size();
    return Unescaped(element.substr(value, element.find('"', value) - value));
}

// The message of the first inner element with this name; none without such an element.
std::string MessageOf(const std::string& element, const std::string& inner)
{
    const std::size_t at = element.find("<" + inner);
    return at == std::string::npos ? std::string() : Attribute(element.substr(at), "message");
}

CaseResult ResultOf(const std::string& element)
{
    if (element.find("<failure") != std::string::npos) {
        return {Found::no, MessageOf(element, "failure")};
    }
    if (element.find("<skipped") != std::string::npos) {
        return {Found::notTried, MessageOf(element, "skipped")};
    }
    return {Found::yes, "passed"};
}

}  // namespace

CaseResults ReadCaseResults(const std::string& xml)
{
    const std::string lead = "<testcase ";
    CaseResults results;
    for (std::size_t at = xml.find(lead); at != std::string::npos;) {
        const std::size_t next = xml.find(lead, at + 1);
        const std::string element = xml.substr(at, next == std::string::npos ? next : next - at);
        if (Attribute(element, "status") == "run") {
            results[Attribute(element, "classname") + "." + Attribute(element, "name")] = ResultOf(element);
        }
        at = next;
    }
    return results;
}

bool Matches(const std::string& name, const std::string& pattern)
{
    if (pattern.empty()) {
        return name.empty();
    }
    if (pattern[0] == '*') {
        return Matches(name, pattern.substr(1)) || (!name.empty() && Matches(name.substr(1), pattern));
    }
    return !name.empty() && name[0] == pattern[0] && Matches(name.substr(1), pattern.substr(1));
}

Finding FindingOf(const CaseResults& results, const std::string& pattern)
{
    Finding finding = NotTried("no test case " + pattern + " has run");
    bool skipped = false;
    for (const auto& [name, result] : results) {
        if (!Matches(name, pattern)) {
            continue;
        }
        if (result.found == Found::no) {
            return No(name + " failed: " + result.detail);
        }
        if (!skipped) {
            finding = {result.found, name + ": " + result.detail};
        }
        skipped = skipped || result.found == Found::notTried;
    }
    return finding;
}

ProgramResult Counted(const std::string& program, const CaseResults& results)
{
    ProgramResult counted{program, 0, {}, {}};
    for (const auto& [name, result] : results) {
        if (result.found == Found::yes) {
            ++counted.passed;
        } else if (result.found == Found::no) {
            counted.failed.push_back(name + ": " + result.detail);
        } else {
            counted.skipped.push_back(name + ": " + result.detail);
        }
    }
    return counted;
}
