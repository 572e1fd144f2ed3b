#include "tests/cadserver/Script.h"

#include "tests/support/AutomationNumbers.h"
#include "tests/support/TextFile.h"

namespace {

// Splits a line into words. Blanks inside quotes do not end a word, not even in key="a b".
std::vector<std::wstring> SplitWords(const std::wstring& line)
{
    std::vector<std::wstring> words;
    bool inWord = false;
    bool quoted = false;
    for (const wchar_t character : line) {
        const bool blank = character == L' ' || character == L'\t';
        if (!quoted && (blank || (character == L'#' && !inWord))) {
            inWord = false;
            if (!blank) {
                break;
            }
            continue;
        }
        if (!inWord) {
            words.emplace_back();
            inWord = true;
        }
        if (character == L'"') {
            quoted = !quoted;
        } else {
            words.back() += character;
        }
    }
    if (quoted) {
        throw CScriptError("a quote is not closed");
    }
    return words;
}

long ToNumber(const std::wstring& text)
{
    try {
        size_t used = 0;
        const long long number = std::stoll(text, &used, 0);
        if (used == text.size()) {
            return static_cast<long>(number);  // 0x80004005 becomes the negative number with the same bits
        }
    } catch (const std::logic_error&) {
    }
    throw CScriptError("not a number: " + ToUtf8(text));
}

DWORD ToCount(const std::wstring& text)
{
    const long number = ToNumber(text);
    if (number < 1) {
        throw CScriptError("must be 1 or more: " + ToUtf8(text));
    }
    return static_cast<DWORD>(number);
}

DWORD ToMilliseconds(const std::wstring& text)
{
    return text == L"forever" ? INFINITE : ToCount(text);
}

HRESULT ToFailure(const std::wstring& text)
{
    const HRESULT status = ToNumber(text);
    if (SUCCEEDED(status)) {
        throw CScriptError("not a failure: " + ToUtf8(text));
    }
    return status;
}

// Splits "key=value". A word without "=" is a key with an empty value.
std::pair<std::wstring, std::wstring> SplitOption(const std::wstring& word)
{
    const size_t equals = word.find(L'=');
    if (equals == std::wstring::npos) {
        return {word, L""};
    }
    return {word.substr(0, equals), word.substr(equals + 1)};
}

void RequireWords(const std::vector<std::wstring>& words, size_t min, size_t max)
{
    if (words.size() < min || words.size() > max) {
        throw CScriptError("too few or too many words");
    }
}

[[noreturn]] void RefuseWord(const std::wstring& word)
{
    throw CScriptError("unknown word " + ToUtf8(word));
}

// Parses "from=N", the first start that a rule applies to.
DWORD ToFirstStart(const std::wstring& word)
{
    const auto [key, value] = SplitOption(word);
    if (key != L"from") {
        RefuseWord(key);
    }
    return ToCount(value);
}

template <class Value>
const Value* FindFor(const std::map<std::wstring, Value>& rules, const std::wstring& file)
{
    auto found = rules.find(LowerCase(file));
    if (found == rules.end()) {
        found = rules.find(L"*");
    }
    return found == rules.end() ? nullptr : &found->second;
}

void SetExceptionField(FaultAction& action, const std::wstring& word)
{
    const auto [key, value] = SplitOption(word);
    if (key == L"code") {
        action.code = static_cast<WORD>(ToNumber(value));
        action.status = S_OK;
    } else if (key == L"scode") {
        action.status = ToNumber(value);
    } else if (key == L"source") {
        action.source = value;
    } else if (key == L"description") {
        action.description = value;
    } else if (key == L"help") {
        action.helpFile = value;
    } else if (key == L"context") {
        action.helpContext = static_cast<DWORD>(ToNumber(value));
    } else {
        RefuseWord(word);
    }
}

// What follows a fault's verb.
enum class Operand
{
    none,
    duration,
    status,
    exceptionFields
};

struct Verb
{
    FaultAction::Kind kind;
    Operand operand;
};

const Verb& FindVerb(const std::wstring& word)
{
    using Kind = FaultAction::Kind;
    static const std::map<std::wstring, Verb> verbs = {
        {L"exception", {Kind::exception, Operand::exceptionFields}},
        {L"fail", {Kind::fail, Operand::status}},
        {L"end-before", {Kind::endBefore, Operand::none}},
        {L"end-after", {Kind::endAfter, Operand::none}},
        {L"hold-before", {Kind::holdBefore, Operand::none}},
        {L"hold-after", {Kind::holdAfter, Operand::none}},
        {L"hang", {Kind::hang, Operand::none}},
        {L"busy", {Kind::busy, Operand::duration}},
        {L"reject", {Kind::reject, Operand::duration}},
        {L"slow", {Kind::slow, Operand::duration}}};
    const auto verb = verbs.find(word);
    if (verb == verbs.end()) {
        RefuseWord(word);
    }
    return verb->second;
}

FaultAction ParseAction(const std::vector<std::wstring>& words, size_t at)
{
    RequireWords(words, at + 1, words.size());
    const Verb& verb = FindVerb(words[at]);
    FaultAction action;
    action.kind = verb.kind;
    if (verb.operand == Operand::exceptionFields) {
        for (++at; at < words.size(); ++at) {
            SetExceptionField(action, words[at]);
        }
        return action;
    }
    const size_t count = at + (verb.operand == Operand::none ? 1 : 2);
    RequireWords(words, count, count);
    if (verb.operand == Operand::status) {
        action.status = ToNumber(words[at + 1]);
    } else if (verb.operand == Operand::duration) {
        action.milliseconds = ToMilliseconds(words[at + 1]);
    }
    return action;
}

// Parses a word that says which calls a fault hits. Returns false for any other word.
bool SetCondition(FaultRule& rule, const std::wstring& word)
{
    const auto [key, value] = SplitOption(word);
    if (key == L"nth") {
        rule.nth = ToCount(value);
    } else if (key == L"call") {
        if (!automation::IsMember(value)) {
            RefuseWord(word);
        }
        rule.call = value;
    } else if (key == L"file") {
        rule.file = LowerCase(value);
    } else if (key == L"lasting") {
        rule.lasting = true;
    } else if (key == L"across") {
        rule.across = true;
    } else {
        return false;
    }
    return true;
}

}  // namespace

CScript::CScript(const std::wstring& path)
{
    int number = 0;
    for (const std::wstring& line : ReadLines(path)) {
        ++number;
        try {
            const Words words = SplitWords(line);
            if (!words.empty()) {
                AddRule(words);
            }
        } catch (const CScriptError& error) {
            throw CScriptError("line " + std::to_string(number) + ": " + error.what());
        }
    }
    if (m_stays && (m_promptsAtEnd || m_lingerings.size() > 1)) {
        throw CScriptError("a process that stays neither lingers nor prompts at its end");
    }
}

void CScript::AddRule(const Words& words)
{
    static const std::map<std::wstring, bool CScript::*> flags = {
        {L"stay", &CScript::m_stays},
        {L"prompt-in-end", &CScript::m_promptsInEnd},
        {L"prompt-at-end", &CScript::m_promptsAtEnd},
        {L"window", &CScript::m_showsWindow}};
    static const std::map<std::wstring, void (CScript::*)(const Words&)> rules = {
        {L"datecode", &CScript::AddDateCode},     {L"open", &CScript::AddOpen},
        {L"count", &CScript::AddCount},           {L"names", &CScript::AddNames},
        {L"missing", &CScript::AddMissing},       {L"start-refuse", &CScript::AddRefusal},
        {L"start-slow", &CScript::AddStartDelay}, {L"linger", &CScript::AddLingering},
        {L"save", &CScript::AddSaveValue},        {L"fault", &CScript::AddFault},
    };
    if (const auto flag = flags.find(words[0]); flag != flags.end()) {
        RequireWords(words, 1, 1);
        this->*flag->second = true;
    } else if (const auto rule = rules.find(words[0]); rule != rules.end()) {
        (this->*rule->second)(words);
    } else {
        RefuseWord(words[0]);
    }
}

void CScript::AddDateCode(const Words& words)
{
    RequireWords(words, 2, 3);
    m_dateCodes[words.size() == 3 ? ToFirstStart(words[2]) : 1] = ToNumber(words[1]);
}

void CScript::AddOpen(const Words& words)
{
    RequireWords(words, 3, 4);
    OpenResult result;
    for (size_t at = 2; at < words.size(); ++at) {
        const auto [key, value] = SplitOption(words[at]);
        if (key == L"null") {
            result.withDocument = false;
        } else if (key == L"code") {
            result.errorCode = ToNumber(value);
        } else {
            RefuseWord(words[at]);
        }
    }
    m_open[LowerCase(words[1])] = result;
}

void CScript::AddCount(const Words& words)
{
    RequireWords(words, 3, 3);
    m_counts[LowerCase(words[1])] = ToNumber(words[2]);
}

void CScript::AddNames(const Words& words)
{
    static const std::map<std::wstring, NamesKind> kinds = {
        {L"texts", NamesKind::texts}, {L"variants", NamesKind::variants}, {L"single", NamesKind::single},
        {L"empty", NamesKind::empty}, {L"integers", NamesKind::integers}, {L"from-one", NamesKind::fromOne},
    };
    RequireWords(words, 3, 3);
    const auto [key, value] = SplitOption(words[2]);
    if (key == L"first") {
        m_namesLimits[LowerCase(words[1])] = static_cast<size_t>(ToCount(value));
        return;
    }
    const auto kind = kinds.find(words[2]);
    if (kind == kinds.end()) {
        RefuseWord(words[2]);
    }
    m_names[LowerCase(words[1])] = kind->second;
}

void CScript::AddMissing(const Words& words)
{
    RequireWords(words, 3, 3);
    m_missing.emplace(LowerCase(words[1]), words[2]);
}

void CScript::AddSaveValue(const Words& words)
{
    RequireWords(words, 3, 3);
    const auto [key, value] = SplitOption(words[2]);
    if (key != L"value") {
        RefuseWord(words[2]);
    }
    m_saveValues[LowerCase(words[1])] = ToNumber(value);
}

void CScript::AddRefusal(const Words& words)
{
    RequireWords(words, 1, 2);
    m_refuseFrom = words.size() == 2 ? ToFirstStart(words[1]) : 1;
}

void CScript::AddStartDelay(const Words& words)
{
    RequireWords(words, 2, 3);
    m_startDelays[words.size() == 3 ? ToFirstStart(words[2]) : 1] = ToCount(words[1]);
}

void CScript::AddLingering(const Words& words)
{
    RequireWords(words, 2, 4);
    Lingering lingering{ToCount(words[1]), RPC_E_DISCONNECTED};
    DWORD firstStart = 1;
    for (size_t at = 2; at < words.size(); ++at) {
        const auto [key, value] = SplitOption(words[at]);
        if (key == L"status") {
            lingering.status = ToFailure(value);
        } else {
            firstStart = ToFirstStart(words[at]);
        }
    }
    m_lingerings[firstStart] = lingering;
}

void CScript::AddFault(const Words& words)
{
    FaultRule rule;
    size_t at = 1;
    while (at < words.size() && SetCondition(rule, words[at])) {
        ++at;
    }
    rule.action = ParseAction(words, at);
    const bool isRejection =
        rule.action.kind == FaultAction::Kind::busy || rule.action.kind == FaultAction::Kind::reject;
    if (isRejection && (!rule.call.empty() || !rule.file.empty())) {
        // The message filter rejects a call without seeing its contents.
        throw CScriptError("busy and reject take no filters");
    }
    m_faults.push_back(rule);
}

OpenResult CScript::Open(const std::wstring& file) const
{
    const OpenResult* result = FindFor(m_open, file);
    return result != nullptr ? *result : OpenResult{};
}

std::optional<long> CScript::Count(const std::wstring& file) const
{
    const long* count = FindFor(m_counts, file);
    return count != nullptr ? std::optional(*count) : std::nullopt;
}

NamesKind CScript::Names(const std::wstring& file) const
{
    const NamesKind* kind = FindFor(m_names, file);
    return kind != nullptr ? *kind : NamesKind::texts;
}

std::optional<size_t> CScript::NamesLimit(const std::wstring& file) const
{
    const size_t* limit = FindFor(m_namesLimits, file);
    return limit != nullptr ? std::optional(*limit) : std::nullopt;
}

std::optional<long> CScript::SaveValue(const std::wstring& file) const
{
    const long* value = FindFor(m_saveValues, file);
    return value != nullptr ? std::optional(*value) : std::nullopt;
}

bool CScript::IsMissing(const std::wstring& file, const std::wstring& configuration) const
{
    return m_missing.contains({LowerCase(file), configuration}) || m_missing.contains({L"*", configuration});
}
