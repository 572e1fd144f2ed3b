#pragma once

#include <optional>
#include <string>

#include "framework/OleDispatchDriver.h"

// The twelve automation calls that the program makes, one member function each. They throw
// COleDispatchException or COleException when the call fails.

// One configuration of a document.
class CSldWorksConfiguration : public COleDispatchDriver
{
public:
    // Takes over the caller's reference; null makes a configuration that is not attached.
    explicit CSldWorksConfiguration(IDispatch* configuration = nullptr) { AttachDispatch(configuration); }

    void PutAlternativeBomName(const std::wstring& name);
    void PutUseAlternativeBomName(bool use);
};

// One open document: a part or an assembly.
class CSldWorksDocument : public COleDispatchDriver
{
public:
    // Takes over the caller's reference; null makes a document that is not attached.
    explicit CSldWorksDocument(IDispatch* document = nullptr) { AttachDispatch(document); }

    // Called when the code that OpenDocument passed back has the bit 0x80 set. What the method does is not
    // documented.
    void CallMethod17();

    [[nodiscard]] long GetConfigurationCount();

    // Returns an array of strings, by value or by reference. A server that violates its interface may return
    // anything else.
    [[nodiscard]] _variant_t GetConfigurationNames();

    // The result is not attached when the document has no configuration of that name.
    [[nodiscard]] CSldWorksConfiguration GetConfiguration(const std::wstring& name);

    // Returns the server's result; nullopt when the server violates its interface by returning anything but a
    // VT_I4.
    std::optional<long> Save(bool silent);
};

// The CAD application.
class CSldWorksApplication : public COleDispatchDriver
{
public:
    static constexpr long kPart = 1;
    static constexpr long kAssembly = 2;

    // Ends the application.
    void Exit();

    void CloseDocument(const std::wstring& path);

    // Release year and build as one number: 1999250 is build 250 of 1999.
    [[nodiscard]] long GetDateCode();

    // Sets whether documents of a type (kPart or kAssembly) open in a window.
    void SetDocumentVisibility(bool visible, long type);

    // The result is not attached when nothing was opened. The server sets `errorCode`.
    [[nodiscard]] CSldWorksDocument OpenDocument(const std::wstring& path, long type, bool readOnly,
                                                 bool viewOnly, bool silent, long& errorCode);
};
