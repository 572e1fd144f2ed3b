#pragma once

#include <string>
#include <vector>

#include "cad/ProgressView.h"
#include "cad/SldWorksCalls.h"
#include "core/PartName.h"

// Writes the bill-of-materials entries of one file. Opens the file in the CAD system, sets or turns off the
// alternative BOM name of each configuration, then saves and closes the file. Shows the progress. Asks for
// confirmation when the user cancels.
class CBomEntryWriter
{
public:
    // `application` must be connected. `filePath` is a full path. `fields` and the configuration's name fill
    // `bomNameTemplate` (see ExpandConfigurationName). `fileShare` is one file's share of the overall bar in
    // percent. `fileNumber` is 1 for the first file of the run. All references must stay valid until Run
    // returns.
    CBomEntryWriter(CSldWorksApplication& application, CProgressView& progress, const std::wstring& filePath,
                    const PartNameValues& fields, const std::wstring& bomNameTemplate, float fileShare,
                    int fileNumber);

    // Writes the entries; call it once. Returns the number of configurations that the CAD system reported, or
    // 0 when the document or one of its configurations was not available. Throws when a call fails; the
    // destructor then releases the document.
    [[nodiscard]] int Run();

private:
    [[nodiscard]] bool OpenDocument();
    void ReadConfigurations();
    [[nodiscard]] bool WriteConfigurations();
    [[nodiscard]] bool WriteConfiguration(const std::wstring& name);
    [[nodiscard]] std::wstring FillBomName(const std::wstring& configurationName) const;
    void ShowConfiguration(const std::wstring& name, const std::wstring& bomName);
    static void PutBomName(CSldWorksConfiguration& configuration, const std::wstring& bomName);
    void HandleCancel();
    void SaveDocument();
    void ReleaseDocument();

    CSldWorksApplication& m_application;
    CProgressView& m_progress;
    const std::wstring& m_filePath;
    const PartNameValues& m_fields;
    const std::wstring& m_bomNameTemplate;
    const float m_fileShare;
    const int m_fileNumber;
    const long m_documentType;

    // Two references to the same document, each released separately.
    CSldWorksDocument m_document;        // for the configurations and saving
    CSldWorksDocument m_openedDocument;  // for CallMethod17

    long m_configurationCount = 0;                   // as reported; may differ from the number of names
    std::vector<std::wstring> m_configurationNames;  // in the CAD system's order
    int m_handled = 0;                               // configurations begun so far
    float m_overallStart = 0;                        // the overall bar's position when writing begins
    bool m_cancelConfirmed = false;
};
