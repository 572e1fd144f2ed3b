// The baseline of a full run: the same copies and automation calls in the same order as the program, without
// a window, table or map file.
//
//   bareclient FOLDER ROWS.tsv [shown]
//
// With "shown", bareclient also displays what a run displays, in bare windows (BareRunWindows.h). ROWS.tsv
// (UTF-8) holds one part per line: file name in FOLDER, tab, name of its copy in FOLDER\Mapped, tab, BOM name
// in which only "%2", the configuration name, is not yet filled in. Prints the number of files, the number of
// configurations and the seconds. The seconds include the start of the server, but not the creation of the
// windows.
#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "bench/BareCopy.h"
#include "bench/BareRunWindows.h"
#include "bench/Stopwatch.h"
#include "core/UTtabEntry.h"
#include "framework/ComPointers.h"
#include "framework/Handles.h"
#include "tests/support/AutomationNumbers.h"
#include "tests/support/TextFile.h"

namespace {

using namespace automation;

constexpr long kOldestDateCode = 1999250;
constexpr long kOpenWarning = 128;

constexpr wchar_t kProgId[] = L"SldWorks.Application.30";

std::vector<UTtab_entry> ReadRows(const std::wstring& path)
{
    std::vector<UTtab_entry> rows;
    for (const std::vector<std::wstring>& fields : ReadTable(path)) {
        if (fields.size() != 3) {
            throw std::runtime_error("a row does not have three fields");
        }
        rows.push_back({fields[0], fields[1], fields[2]});
    }
    if (rows.empty()) {
        throw std::runtime_error("cannot read the rows");
    }
    return rows;
}

_variant_t Call(IDispatch* object, DISPID dispid, std::vector<_variant_t> arguments,
                WORD kind = DISPATCH_METHOD)
{
    std::reverse(arguments.begin(), arguments.end());
    DISPID put = DISPID_PROPERTYPUT;
    DISPPARAMS parameters{arguments.data(), nullptr, static_cast<UINT>(arguments.size()), 0};
    if (kind == DISPATCH_PROPERTYPUT) {
        parameters.rgdispidNamedArgs = &put;
        parameters.cNamedArgs = 1;
    }
    _variant_t result;
    const HRESULT status =
        object->Invoke(dispid, IID_NULL, LOCALE_USER_DEFAULT, kind, &parameters, &result, nullptr, nullptr);
    if (FAILED(status)) {
        throw std::runtime_error("automation call " + std::to_string(dispid) + " failed");
    }
    return result;
}

IDispatchPtr ObjectOf(const _variant_t& value)
{
    return {value.vt == VT_DISPATCH ? value.pdispVal : nullptr, true};
}

IDispatchPtr OpenDocument(IDispatch* application, const std::wstring& path, long& errorCode)
{
    _variant_t code;
    code.vt = VT_BYREF | VT_I4;
    code.plVal = &errorCode;
    return ObjectOf(
        Call(application, kOpenDocument, {path.c_str(), _variant_t(1L, VT_I4), false, false, true, code}));
}

std::wstring Fill(std::wstring bomName, const std::wstring& configuration)
{
    for (size_t at = 0; (at = bomName.find(L"%2", at)) != std::wstring::npos; at += configuration.size()) {
        bomName.replace(at, 2, configuration);
    }
    return bomName;
}

void WriteConfiguration(IDispatch* document, const std::wstring& name, const std::wstring& filled)
{
    const IDispatchPtr configuration = ObjectOf(Call(document, kGetConfiguration, {name.c_str()}));
    if (configuration == nullptr) {
        throw std::runtime_error("a configuration is missing");
    }
    Call(configuration, kUseAlternativeBomName, {!filled.empty()}, DISPATCH_PROPERTYPUT);
    if (!filled.empty()) {
        Call(configuration, kAlternativeBomName, {filled.c_str()}, DISPATCH_PROPERTYPUT);
    }
}

std::vector<std::wstring> NamesOf(const _variant_t& value, long count)
{
    if (value.vt != (VT_ARRAY | VT_BSTR)) {
        throw std::runtime_error("the configuration names are not an array of texts");
    }
    std::vector<std::wstring> names;
    for (LONG index = 0; index < count; ++index) {
        BSTR name = nullptr;
        SafeArrayGetElement(value.parray, &index, &name);
        names.emplace_back(_bstr_t(name, false).GetBSTR());
    }
    return names;
}

void WriteConfigurations(IDispatch* document, long count, const std::wstring& bomName,
                         CBareRunWindows* windows)
{
    long index = 0;
    for (const std::wstring& name : NamesOf(Call(document, kGetConfigurationNames, {}), count)) {
        const std::wstring filled = Fill(bomName, name);
        if (windows != nullptr) {
            windows->ShowConfiguration(name, filled, index++, count);
        }
        WriteConfiguration(document, name, filled);
        if (windows != nullptr) {
            CBareRunWindows::PumpOneMessage();
        }
    }
}

long WriteBomEntries(IDispatch* application, const std::wstring& path, const std::wstring& bomName,
                     CBareRunWindows* windows)
{
    const _variant_t part(1L, VT_I4);
    Call(application, kSetDocumentVisibility, {false, part});
    long errorCode = 0;
    IDispatchPtr document = OpenDocument(application, path, errorCode);
    if (document == nullptr || (errorCode >= 1 && errorCode != kOpenWarning)) {
        throw std::runtime_error("cannot open a copy");
    }
    if ((errorCode & kOpenWarning) != 0) {
        Call(document, kCallMethod17, {});
    }
    const long count = Call(document, kGetConfigurationCount, {});
    WriteConfigurations(document, count, bomName, windows);
    if (windows != nullptr) {
        windows->ShowSaving();
    }
    if (count > 0) {
        Call(document, kSave, {true});
    }
    document = nullptr;
    Call(application, kCloseDocument, {path.c_str()});
    if (windows != nullptr) {
        windows->EnableCancel(true);
    }
    Call(application, kSetDocumentVisibility, {true, part});
    return count;
}

// Returns the number of configurations.
long ConvertRow(IDispatch* application, const std::wstring& folder, const UTtab_entry& row,
                CBareRunWindows* windows)
{
    const std::wstring source = folder + L"\\" + row.strOriginal;
    const std::wstring target = folder + L"\\Mapped\\" + row.strRenamed;
    if (windows != nullptr) {
        windows->ShowCopy(source, target);
    }
    SetReadOnly(target, false);
    CopyInBlocks(source, target);
    if (windows != nullptr) {
        windows->ShowCurrentFile(target);
    }
    const long configurations = WriteBomEntries(application, target, row.strBomName, windows);
    if (windows != nullptr) {
        windows->FinishRow();
    }
    SetReadOnly(target, true);
    return configurations;
}

// Returns the number of configurations.
long Convert(const std::wstring& folder, const std::vector<UTtab_entry>& rows, CBareRunWindows* windows)
{
    IDispatchPtr application;
    if (FAILED(application.CreateInstance(kProgId, nullptr, CLSCTX_LOCAL_SERVER))) {
        throw std::runtime_error("cannot start the server");
    }
    if (static_cast<long>(Call(application, kGetDateCode, {})) < kOldestDateCode) {
        throw std::runtime_error("the server is too old");
    }
    long configurations = 0;
    for (const UTtab_entry& row : rows) {
        configurations += ConvertRow(application, folder, row, windows);
    }
    Call(application, kExit, {});
    return configurations;
}

void Run(const std::wstring& folder, const std::wstring& rowsPath, bool shown)
{
    const std::vector<UTtab_entry> rows = ReadRows(rowsPath);
    std::optional<CBareRunWindows> windows;
    if (shown) {
        windows.emplace(rows);
    }
    const CStopwatch watch;
    std::filesystem::create_directories(folder + L"\\Mapped");
    const long configurations = Convert(folder, rows, windows ? &*windows : nullptr);
    const double seconds = watch.Seconds();
    if (windows) {
        windows->CheckAllShown();
    }
    std::printf("%zu files, %ld configurations, %.3f s\n", rows.size(), configurations, seconds);
}

}  // namespace

int wmain(int count, wchar_t** arguments)
{
    const bool shown = count == 4 && std::wstring_view(arguments[3]) == L"shown";
    if (count != 3 && !shown) {
        std::fprintf(stderr, "usage: bareclient FOLDER ROWS.tsv [shown]\n");
        return 2;
    }
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    int status = 0;
    try {
        const UniqueModule resources = LoadBareResources();
        Run(arguments[1], arguments[2], shown);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "bareclient: %s\n", error.what());
        status = 1;
    } catch (const _com_error& error) {
        std::fprintf(stderr, "bareclient: 0x%08lx\n", static_cast<unsigned long>(error.Error()));
        status = 1;
    }
    CoUninitialize();
    return status;
}
