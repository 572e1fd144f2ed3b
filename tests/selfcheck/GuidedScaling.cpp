#include "tests/selfcheck/GuidedScaling.h"

#include <windows.h>

#include <commctrl.h>

#include <cstdlib>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "resources/resource.h"
#include "tests/selfcheck/Guide.h"
#include "tests/selfcheck/Windows10.h"
#include "tests/support/OtherWindows.h"
#include "tests/support/ProgramUnderTest.h"
#include "tests/support/Rects.h"
#include "tests/support/TextFile.h"

namespace {

constexpr wchar_t kProgram[] = L"talvenor_english.exe";
constexpr int kTolerance = 1;  // pixels, because of rounding

struct Layout
{
    std::vector<std::string> names;
    std::vector<RECT> rects;  // the window's size, then its controls in the client area
    std::vector<int> columns;
    int rowHeight = 0;
    UINT dpi = 0;
};

// By the height that the list would need for one more row.
int RowHeight(HWND list)
{
    const LPARAM anySize = MAKELPARAM(-1, -1);
    return HIWORD(Ask(list, LVM_APPROXIMATEVIEWRECT, 2, anySize)) -
           HIWORD(Ask(list, LVM_APPROXIMATEVIEWRECT, 1, anySize));
}

Layout LayoutOf(const CProgramUnderTest& program)
{
    const HWND window = program.MainWindow();
    Layout layout;
    RECT frame = RectOf(window);
    OffsetRect(&frame, -frame.left, -frame.top);
    layout.names.emplace_back("window");
    layout.rects.push_back(frame);
    for (const HWND control : ControlsOf(window)) {
        RECT rect = RectOf(control);
        MapWindowPoints(nullptr, window, reinterpret_cast<POINT*>(&rect), 2);
        layout.names.push_back(ToUtf8(ClassOf(control)) + " " + std::to_string(GetDlgCtrlID(control)));
        layout.rects.push_back(rect);
    }
    for (const WPARAM column : {0U, 1U, 2U}) {
        layout.columns.push_back(
            static_cast<int>(Ask(program.Control(IDC_LIST), LVM_GETCOLUMNWIDTH, column)));
    }
    layout.rowHeight = RowHeight(program.Control(IDC_LIST));
    layout.dpi = DpiOf(window);
    return layout;
}

bool IsNear(LONG left, LONG right)
{
    return std::abs(left - right) <= kTolerance;
}

std::string TextOf(const RECT& rect)
{
    return std::to_string(rect.left) + "," + std::to_string(rect.top) + " " +
           std::to_string(rect.right - rect.left) + "x" + std::to_string(rect.bottom - rect.top);
}

// What differs; empty if nothing does.
std::string Difference(const Layout& left, const Layout& right)
{
    if (left.names != right.names) {
        return "other controls";
    }
    std::string found;
    for (std::size_t at = 0; at < left.rects.size(); ++at) {
        const RECT& a = left.rects[at];
        const RECT& b = right.rects[at];
        if (!IsNear(a.left, b.left) || !IsNear(a.top, b.top) || !IsNear(a.right, b.right) ||
            !IsNear(a.bottom, b.bottom)) {
            found += left.names[at] + ": " + TextOf(a) + " for " + TextOf(b) + "; ";
        }
    }
    return found;
}

Finding Compared(const Layout& left, const Layout& right)
{
    const std::string difference = Difference(left, right);
    return YesIf(difference.empty(),
                 difference.empty() ? std::to_string(left.rects.size()) + " rectangles" : difference);
}

Finding ComparedColumns(const Layout& left, const Layout& right)
{
    std::string widths;
    bool same = true;
    for (std::size_t at = 0; at < left.columns.size(); ++at) {
        widths += std::to_string(left.columns[at]) + " for " + std::to_string(right.columns[at]) + "; ";
        same = same && IsNear(left.columns[at], right.columns[at]);
    }
    return YesIf(same, widths);
}

Finding ComparedRows(const Layout& left, const Layout& right)
{
    return YesIf(left.rowHeight > 0 && left.rowHeight == right.rowHeight,
                 std::to_string(left.rowHeight) + " pixels for " + std::to_string(right.rowHeight));
}

// Whether the window had this scaling. Unless the scaling has changed, the comparisons prove nothing.
bool HasScaling(const Layout& layout, UINT percent)
{
    return layout.dpi == USER_DEFAULT_SCREEN_DPI * percent / 100;
}

// A failure here must not keep the person from setting the scaling back.
void CompareWithNewlyStarted(const Layout& scaled, CReport& report)
{
    try {
        const CProgramUnderTest fresh({}, kProgram);
        const Layout expected = LayoutOf(fresh);
        report.AddFinding("dpi-relayout", Compared(scaled, expected));
        report.AddFinding("dpi-columns", ComparedColumns(scaled, expected));
        report.AddFinding("dpi-row-height", ComparedRows(scaled, expected));
    } catch (const std::runtime_error& error) {
        report.AddFailure(std::string("scaling: ") + error.what());
    }
}

}  // namespace

void CheckScaling(CReport& report)
{
    const CProgramUnderTest program({}, kProgram);
    const Layout before = LayoutOf(program);
    if (HasScaling(before, 150) ||
        Ask("Two windows of Talvenor will open; do not touch them. Set the scaling of this screen to 150 % "
            "(Settings, Display).",
            "Is it 150 % now?") != Answer::yes) {
        report.AddFact("scaling", "left out: it was 150 % before, or the person left it out");
        return;
    }
    const Layout scaled = LayoutOf(program);
    if (HasScaling(scaled, 150)) {
        CompareWithNewlyStarted(scaled, report);
    } else {
        report.AddFailure("the scaling of the program's window is " + std::to_string(scaled.dpi) + " dpi");
    }
    if (Ask("Set the scaling back to what it was.", "Is it as before?") == Answer::yes &&
        LayoutOf(program).dpi == before.dpi && HasScaling(scaled, 150)) {
        report.AddFinding("dpi-back", Compared(LayoutOf(program), before));
    }
}
