#include "tests/selfcheck/Options.h"

#include <stdexcept>

#include "tests/support/TextFile.h"

namespace {

int StageOf(const std::wstring& word)
{
    if (word.size() != 1 || word[0] < L'0' || word[0] > L'0' + kLastStage) {
        throw std::invalid_argument("not a stage from 0 to 4: " + ToUtf8(word));
    }
    return word[0] - L'0';
}

}  // namespace

Options ParseOptions(const std::vector<std::wstring>& words)
{
    Options options;
    std::set<int> only;
    std::set<int> without;
    for (std::size_t at = 0; at < words.size(); ++at) {
        const std::wstring& word = words[at];
        const bool selects = word == L"--only" || word == L"--leave-out";
        if (selects && at + 1 < words.size()) {
            (word == L"--only" ? only : without).insert(StageOf(words[++at]));
        } else if (word == L"--yes") {
            options.yes = true;
        } else if (word == L"--quick") {
            options.quick = true;
        } else if (word == L"--restore") {
            options.restore = true;
        } else if (word == L"--help" || word == L"/?") {
            options.help = true;
        } else {
            throw std::invalid_argument("unknown option or missing stage: " + ToUtf8(word));
        }
    }
    for (int stage = 0; stage <= kLastStage; ++stage) {
        if ((only.empty() || only.contains(stage)) && !without.contains(stage)) {
            options.stages.insert(stage);
        }
    }
    return options;
}

const char* Usage()
{
    return "Checks whether this Windows is as Talvenor expects, and writes report\\report.txt in its "
           "folder.\n"
           "selfcheck [--only STAGE ...] [--leave-out STAGE ...] [--yes] [--quick]\n"
           "  0  looks at the machine, starts the program and takes a picture; changes nothing\n"
           "  1  text and in-process tests: opens windows, uses the clipboard\n"
           "  2  as administrator: registers a stand-in for the CAD system and uses mouse and keyboard\n"
           "  3  as administrator: installs and removes the package\n"
           "  4  asks you to do something, and measures or asks what happened\n"
           "  --only STAGE       this stage, may be repeated\n"
           "  --leave-out STAGE  all but this stage, may be repeated\n"
           "  --yes              ask nothing before a stage; leaves out stage 4\n"
           "  --quick            of the tests, only those that prove an expectation and are not slow\n"
           "  --restore          only undoes what a self-check that was killed has left on the machine\n"
           "Exit status: 0 all five stages are complete and as expected, 1 not as expected, 2 wrong "
           "options,\n"
           "3 all that was looked at is as expected, but not every stage is complete.\n";
}
