#include "tests/support/Leftovers.h"

#include <optional>
#include <stdexcept>

#include "tests/support/ClassKey.h"
#include "tests/support/DocumentClass.h"
#include "tests/support/KeysAside.h"
#include "tests/support/OnlyTests.h"
#include "tests/support/OwnRegistry.h"

namespace {

void Append(std::vector<std::string>& problems, const std::vector<std::string>& more)
{
    problems.insert(problems.end(), more.begin(), more.end());
}

}  // namespace

std::vector<std::string> RestoreLeftovers()
{
    std::optional<COnlyTests> only;
    try {
        only.emplace();
    } catch (const std::runtime_error& error) {
        return {error.what()};
    }
    std::vector<std::string> problems = CScratchClassKey::RestoreLeftovers();
    Append(problems, RestoreDocumentClasses());
    Append(problems, CKeysAside::RestoreLeftovers());
    Append(problems, CKeysAside::RestoreLeftovers(kFileDialogsKey));
    Append(problems, COwnRegistry::RestoreLeftovers());
    return problems;
}
