#pragma once

#include <memory>
#include <string>
#include <vector>

#include "cad/ProgressView.h"
#include "cad/SldWorksCalls.h"
#include "core/PartName.h"

// The program's one automation connection to SOLIDWORKS, for use on one thread only.
class CSldWorks : public Diverses
{
public:
    CSldWorks();
    CSldWorks(const CSldWorks&) = delete;
    CSldWorks& operator=(const CSldWorks&) = delete;

    // Releases the application without ending it.
    virtual ~CSldWorks();

    // Fills `versions` with the installed major version numbers from 20 to 39, in decimal, in ascending
    // order. Returns the index of the current version; 0 when it is unknown or not in the list.
    [[nodiscard]] static int GetInstalledVersions(std::vector<std::wstring>& versions);

    // Connects to a running server of the ProgID or starts one, and shows the wait cursor meanwhile. Returns
    // 1 when connected, otherwise 0. An existing connection is kept, whatever its ProgID. Throws
    // COleException with E_OUTOFMEMORY when there is no memory for the ProgID.
    [[nodiscard]] int Connect(const std::wstring& progId);

    // The status code of the last Connect that returned 0; E_OUTOFMEMORY if there was no memory to keep it.
    [[nodiscard]] HRESULT GetConnectStatus() const;

    // Whether the connected server is release 99/250 or later. Throws when the call fails.
    [[nodiscard]] bool IsVersionSupported();

    // Ends the application and releases it; does nothing when not connected. Returns 0. Throws when the call
    // that ends the application fails; the application is released anyway.
    int Disconnect();

    // Releases the application without ending it; does nothing when not connected.
    void Leave();

    // Runs a CBomEntryWriter for one part or assembly. Call it only while connected.
    int WriteBomEntries(CProgressView& progress, const std::wstring& filePath, const PartNameValues& fields,
                        const std::wstring& bomNameTemplate, float fileShare, int fileNumber);

    // Calls the SanitizeFeatureName of core/NameRules.h.
    static int SanitizeFeatureName(std::wstring& name);

private:
    CSldWorksApplication m_application;
    int m_connected = 0;                            // 0 or 1
    std::unique_ptr<COleException> m_connectError;  // of the last attempt to connect; null if out of memory
};
