#include "ui/DroppedFiles.h"

#include <string>
#include <vector>

#include "core/PartName.h"
#include "files/Folders.h"
#include "framework/ScopeExit.h"

namespace {

std::vector<std::wstring> PathsOf(HDROP drop)
{
    constexpr UINT kAll = 0xFFFFFFFF;
    std::vector<std::wstring> paths(DragQueryFileW(drop, kAll, nullptr, 0));
    for (UINT file = 0; file < paths.size(); ++file) {
        std::wstring& path = paths[file];
        path.resize(DragQueryFileW(drop, file, nullptr, 0));
        DragQueryFileW(drop, file, path.data(), static_cast<UINT>(path.size()) + 1);
    }
    return paths;
}

}  // namespace

// By default, User Interface Privilege Isolation keeps the messages of a drop from reaching an elevated
// window when the files come from a program that is not elevated ("ChangeWindowMessageFilterEx function").
// The third message has no name in the headers; it carries the file names (undocumented).
void AcceptDroppedFiles(HWND window)
{
    constexpr UINT kCopyGlobalData = 0x0049;
    for (const UINT message : {UINT{WM_DROPFILES}, UINT{WM_COPYDATA}, kCopyGlobalData}) {
        ChangeWindowMessageFilterEx(window, message, MSGFLT_ALLOW, nullptr);
    }
    DragAcceptFiles(window, TRUE);
}

std::optional<PickedFiles> TakeDroppedFiles(HDROP drop)
{
    const CScopeExit finish([drop] { DragFinish(drop); });
    const std::vector<std::wstring> paths = PathsOf(drop);
    if (paths.size() == 1 && IsFolder(paths[0])) {
        return PickedFiles{paths[0], {}};
    }
    PickedFiles files;
    for (const std::wstring& path : paths) {
        const std::size_t backslash = path.rfind(L'\\');
        const std::wstring folder = path.substr(0, backslash);
        if (backslash == std::wstring::npos || !HasPartExtension(path) || IsFolder(path) ||
            (!files.names.empty() && !SameFolder(folder, files.folder))) {
            return std::nullopt;
        }
        files.folder = folder;
        files.names.push_back(path.substr(backslash + 1));
    }
    return files.names.empty() ? std::nullopt : std::optional(files);
}
