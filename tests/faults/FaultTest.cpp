#include "tests/faults/FaultTest.h"

#include <string>

namespace {

std::vector<PartConfiguration> UnnamedConfigurations(const std::vector<std::wstring>& names)
{
    std::vector<PartConfiguration> configurations;
    for (const std::wstring& name : names) {
        configurations.push_back({name, true, L"as delivered"});
    }
    return configurations;
}

std::string Labelled(const char* run, const std::string& differences)
{
    return differences.empty() ? "" : std::string(run) + ":\n" + differences;
}

}  // namespace

std::vector<int> LanguagesToTry()
{
    return EveryFault() ? std::vector{1, 0} : std::vector{1};
}

std::vector<ModelRow> FourRows()
{
    ModelRow screw{{L"N_4017_M8.sldprt", L"Schraube 4017.sldprt", L"Norm %1 - %2|%3|%4"}};
    screw.source = UnnamedConfigurations({L"M8x10", L"M8/x 12"});
    screw.written = {{L"M8x10", true, L"Norm 4017 - M8x10|4017|M8"},
                     {L"M8/x 12", true, L"Norm 4017 - M8/x 12|4017|M8"}};
    ModelRow washer{{L"N_125_A8.sldprt", L"Scheibe größer.sldprt", L"%2"}};
    washer.source = UnnamedConfigurations({L"B1", L" ", L"Größe 3"});
    washer.written = {{L"B1", true, L"B1"}, {L" ", false, L"as delivered"}, {L"Größe 3", true, L"Größe 3"}};
    ModelRow earlier{{L"N_200_C.sldprt", L"früher.sldprt", L"Norm %1"}};
    earlier.source = UnnamedConfigurations({L"c"});
    earlier.written = {{L"c", true, L"Norm 200"}};
    earlier.pending = false;
    ModelRow assembly{{L"N_9_D.sldasm", L"Gruppe.SLDASM", L"Norm %3"}};
    assembly.source = UnnamedConfigurations({L"d1", L"d2"});
    assembly.written = {{L"d1", true, L"Norm 9"}, {L"d2", true, L"Norm 9"}};
    assembly.documentType = 2;
    assembly.openCode = 128;
    return {screw, washer, earlier, assembly};
}

void CountingTest::TearDown()
{
    m_count.Record();
}

void CountingTest::Count(int injected, const std::string& differences)
{
    EXPECT_TRUE(differences.empty()) << differences;
    m_count.Add(injected, differences.empty());
}

void FaultTest::RunAndRepeat(const ServerScript& script, const std::function<void()>& undo)
{
    Bench().m_afterRun = undo;
    std::string differences = Labelled("run", Bench().Run(script));
    const bool injected = script.cancelAt == 0 || Bench().HasCancelled();
    Bench().m_afterRun = nullptr;
    Bench().ExpectNoFailure();
    if (m_thorough) {
        differences += Labelled("next run", Bench().Run({}));
    }
    Bench().MarkAll();
    differences += Labelled("run of all rows", Bench().Run({}));
    Count(injected ? 1 : 0, differences);
}
