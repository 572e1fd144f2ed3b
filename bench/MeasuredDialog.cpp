#include "bench/MeasuredDialog.h"

#include <cstdio>
#include <exception>

#include "core/NameTemplate.h"
#include "framework/WinApp.h"
#include "resources/resource.h"

namespace {

class CBenchmarkApp : public CWinApp
{
public:
    explicit CBenchmarkApp(const std::function<void()>& work) : CWinApp(L"Talvenor"), m_work(work) {}
    int m_exitStatus = 1;

protected:
    bool InitInstance() override
    {
        InitializeOle();
        const CResourceScope resources;
        try {
            m_work();
            m_exitStatus = 0;
        } catch (const std::exception& error) {
            std::fprintf(stderr, "bench: %s\n", error.what());
        }
        return false;
    }

private:
    const std::function<void()>& m_work;
};

}  // namespace

CMeasuredDialog::CMeasuredDialog(const std::wstring& partsFolder)
{
    m_settings.SetPartsFolder(partsFolder);
    // Unlike the default template, this template has %7 and %8, because some parts differ only in these
    // fields.
    m_settings.SetTemplate(kColumnRenamed, L"%5%3_%4.%7%8.changed.%6");
    m_settings.SetTemplate(kColumnBomName, L"Norm %1 - %2");
    m_dialog.Create();
    m_table = &dynamic_cast<CConversionTable&>(*CWnd::FromHandle(m_dialog.GetDlgItem(IDC_LIST)));
    m_dialog.ShowWindow(SW_SHOW);
    Finish();
}

void CMeasuredDialog::Finish()
{
    DrainMessages();
    m_dialog.CallIdle();
}

void CMeasuredDialog::Press(int id)
{
    m_dialog.SendMessage(WM_COMMAND, MAKEWPARAM(id, BN_CLICKED),
                         reinterpret_cast<LPARAM>(m_dialog.GetDlgItem(id)));
    Finish();
}

void CMeasuredDialog::ApplyTemplate(int column) const
{
    m_dialog.SendMessage(WM_APPLYTEMPLATE, static_cast<WPARAM>(column));
}

std::vector<UTtab_entry> CMeasuredDialog::Rows() const
{
    std::vector<UTtab_entry> rows;
    for (int row = 0; row < Table().GetItemCount(); ++row) {
        rows.push_back(Table().GetRow(row));
    }
    return rows;
}

int RunInApplication(const std::function<void()>& work)
{
    CBenchmarkApp app(work);
    app.Run();
    // The test scopes report failures with EXPECT. Outside any test, GoogleTest records such failures as an
    // "ad hoc" result.
    const bool failed = testing::UnitTest::GetInstance()->ad_hoc_test_result().Failed();
    return failed ? 1 : app.m_exitStatus;
}
