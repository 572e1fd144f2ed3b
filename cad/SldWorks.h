#pragma once

#include <memory>
#include <string>
#include <vector>

#include "cad/ProgressView.h"
#include "cad/SldWorksCalls.h"
#include "core/PartName.h"

// The program's one automation connection to SOLIDWORKS. It serves one thread.
class CSldWorks : public Diverses
{
public:
    CSldWorks();
    CSldWorks(const CSldWorks&) = delete;
    CSldWorks& operator=(const CSldWorks&) = delete;

    // Lets the application go without ending it.
    virtual ~CSldWorks();

    // Fills `versions` with the major version numbers, in decimal, of the installed versions from 20 to 39 in
    // rising order, and answers the index of the current one in it; 0 when there is none or it is not listed.
    [[nodiscard]] static int GetInstalledVersions(std::vector<std::wstring>& versions);

    // Reaches or starts the server of the ProgID under the wait cursor. Answers 1 when connected (at once,
    // when it was already, whatever the ProgID), 0 when the server cannot be had. Throws COleException with
    // E_OUTOFMEMORY when there is no memory for the ProgID.
    [[nodiscard]] int Connect(const std::wstring& progId);

    // Whether the connected server is release 99/250 or later. Throws what a failing call throws.
    [[nodiscard]] bool IsVersionSupported();

    // Ends the application and lets it go; does nothing when not connected. Answers 0. When the call that
    // ends it fails, its exception is thrown, and the application has been let go all the same.
    int Disconnect();

    // Opens a part or assembly file, writes the BOM entry of each of its configurations and saves and closes
    // it; see CBomEntryWriter. To be called while connected.
    int WriteBomEntries(CProgressView& progress, const std::wstring& filePath, const PartNameValues& fields,
                        const std::wstring& bomNameTemplate, float fileShare, int fileNumber);

    // Replaces the characters that feature names may not hold, in place; answers how many it replaced.
    static int SanitizeFeatureName(std::wstring& name);

private:
    CSldWorksApplication m_application;
    int m_connected = 0;  // 0 or 1
    std::unique_ptr<COleException>
        m_connectError;  // how the last connecting ended; null without memory for it
};
