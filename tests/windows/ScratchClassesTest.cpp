#include <gtest/gtest.h>

#include <shlobj.h>

#include "tests/support/FakeClasses.h"
#include "tests/support/UnderWine.h"

namespace {

TEST(ScratchClasses, OfTheUserAreFoundByCom)
{
    const bool isOfMachine = CScratchClassKey::Root() == HKEY_LOCAL_MACHINE;
    if (isOfMachine && (UnderWine() || IsUserAnAdmin() != FALSE)) {
        GTEST_SKIP()
            << "skipped: COM finds classes of the machine alone, as under Wine and for an administrator";
    }
    EXPECT_EQ(HKEY_CURRENT_USER, CScratchClassKey::Root());
}

}  // namespace
