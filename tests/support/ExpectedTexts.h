#pragma once

#include <string>

#include "framework/Language.h"

// The user texts that tests expect, written down apart from the program. Texts that a path or a number goes
// into are in pieces; the functions at the end put them together, in the language of the process.
namespace expected {

// Main dialog
inline constexpr Text kHeaders[] = {{L"Original Normteil-Dateien", L"Original Standard-Part-Files"},
                                    {L"Umbenannt nach...", L"Renamed to..."},
                                    {L"Benennung d. Stücklisteneintrags", L"BOM names"}};
inline constexpr Text kMapView{L"Inhalt der Map-Datei wird angezeigt", L"Showing contents of the Map-File"};
inline constexpr Text kFolderView{L"Inhalt des Normteil-Verzeichnisses wird angezeigt",
                                  L"Showing contents of the standard part folder"};
inline constexpr Text kListChanged{L" (Liste geändert)", L" (list changed)"};
inline constexpr Text kNoPartsFolder{
    L"Norm-Input-Verzeichnis nicht vorhanden!\n\n"
    L"Normteil-Verzeichnis und -Dateien müssen manuell gewählt werden.",
    L"Norm-Input-Directory not available!\n\n"
    L"Standard part directory and files have to be selected manually."};
inline constexpr Text kAddParts{L"Normteile hinzufügen...", L"Add standart parts..."};
inline constexpr Text kPickFolder{L"Quellordner der Normteile auswählen:",
                                  L"Select the standard part folder:"};
inline constexpr Text kChangeFolder{
    L"Soll das Quellverzeichnis wirklich geändert werden?\n\n"
    L"Wenn JA, dann werden alle Normteillisteneinträge im Fenster verworfen.",
    L"Do you really want to change the standard part folder?\n\n"
    L"If YES, then all standard part entries are removed from list."};
inline constexpr Text kAddFromOtherFolder{
    L"Soll das Quellverzeichnis wirklich geändert werden?\n\nWenn JA, dann werden alle bisherigen "
    L"Normteillisteneinträge im Fenster verworfen\nund die neu ausgewählten eingefügt.",
    L"Do you really want to change the standard part folder?\n\nIf YES, then all previous selected standard "
    L"part entries are removed from list\nand the new selections are inserted."};
inline constexpr Text kNoSuchFolder{L"Das Quellverzeichnis existiert nicht!\nBitte Eingabe korrigieren.",
                                    L"The source directory does not exist!\nPlease check input."};
inline constexpr Text kRemoveAll{L"Wirklich alle Einträge löschen?",
                                 L"Do you really want to remove all list entries?"};
inline constexpr Text kPartFiles{L"SW-Dateien (*.sldprt;*.sldasm)", L"SW Files (*.sldprt;*.sldasm)"};
inline constexpr Text kMapMissingLead{L"Map-Datei '", L"Map-File '"};
inline constexpr Text kMapMissingEnd{L"' nicht vorhanden.", L"' not available."};
inline constexpr Text kOverwriteLead{L"Die Map-Datei 'PartsMap.txt' existiert bereits in '",
                                     L"The Map-File 'PartsMap.txt' already exists in '"};
inline constexpr Text kOverwriteEnd{L"'.\n\nSoll die Datei überschrieben werden?",
                                    L"'.\n\nDo you want to overwrite this file?"};

// List menus and template dialog
inline constexpr Text kDeleteRows{L"&Löschen", L"&Delete"};
inline constexpr Text kUseTemplate{L"Schablone &anwenden", L"&Use template"};
inline constexpr Text kEditTemplate{L"Schablone ansehen/&bearbeiten...", L"View/&Modify template..."};
inline constexpr Text kFileTemplate{L"Schablone Zieldatei bearbeiten", L"View/Modify file template"};
inline constexpr Text kBomTemplate{L"Schablone Stücklisteneintrag bearbeiten", L"View/Modify BOM template"};
inline constexpr Text kFillInRefused{L"Platzhalter %2 für Konfigurationsnamen ist nicht erlaubt.",
                                     L"You cannot use the fill-in %2 for configuration names."};
inline constexpr Text kPreviewRefused{L"(%2 ist in Dateinamen nicht erlaubt)",
                                      L"(%2 is not allowed in file names)"};
inline constexpr Text kSampleConfiguration{L"Standard", L"Default"};

// About box
inline constexpr Text kAboutCommand{L"&Über Talvenor...", L"&About Talvenor..."};
inline constexpr Text kAbout{L"Über Talvenor", L"About Talvenor"};

// Names edited by hand or made by a template
inline constexpr Text kForbiddenInFileName{
    L"Folgende Zeichen sind in Dateinamen nicht erlaubt:\n\t|  /  \\  *  :  \"  ?  <  >  ;  =\n\n"
    L"Diese Zeichen werden nun automatisch durch Unterstriche '_' ersetzt.",
    L"The following characters are not allowed to use in file names:\n\t|  /  \\  *  :  \"  ?  <  >  ;  =\n\n"
    L"These characters are automatically replaced by underscores '_'."};
inline constexpr Text kForbiddenInBomName{
    L"Folgende Zeichen sind in den Feature-/Komponenten-Namen von SOLIDWORKS nicht erlaubt:\n"
    L"\t@  /  ; =\n\nDiese Zeichen werden nun automatisch durch Unterstriche '_' ersetzt.",
    L"The following characters are not allowed to use in feature-/component names of SOLIDWORKS:\n"
    L"\t@  /  ; =\n\nThese characters are automatically replaced by underscores '_'."};
inline constexpr Text kNameTaken{L"Der angegebene Dateiname ist schon vorhanden.",
                                 L"The file name is not unique."};
inline constexpr Text kGeneratedNameTaken{
    L"Ein generierter Dateiname ist bereits vorhanden.\nDer vorhandene Dateiname bleibt erhalten.",
    L"A generated file name is not unique.\nSkip this file."};

// Start
inline constexpr Text kNoResources{L"Ressource DLL kann nicht geladen werden!\nDatei: .\\talvresgerx64.dll",
                                   L"Cannot load Resource DLL!\nFile: .\\talvresusx64.dll"};

// The reader of the map file. The main dialog's speaks German in both languages.
inline constexpr Text kSyntaxError{L"Syntax-Fehler in Zeile ", L"Syntax-Error in line "};
inline constexpr Text kNotEvaluated{L"\n\nDie Datei konnte nicht vollständig ausgewertet werden.",
                                    L"\n\nThe file could not be evaluated completely."};
inline constexpr Text kNotRead{L"FEHLER: Datei '", L"ERROR: File '"};
inline constexpr Text kNotReadTail{L"' kann nicht zum Lesen geöffnet werden!",
                                   L"' cannot be opened for read access!"};
inline constexpr const wchar_t* kSyntaxErrorLead = kSyntaxError.german;
inline constexpr const wchar_t* kSyntaxErrorMiddle = L" in\n";
inline constexpr const wchar_t* kSyntaxErrorEnd = kNotEvaluated.german;
inline constexpr const wchar_t* kNotReadLead = kNotRead.german;
inline constexpr const wchar_t* kNotReadEnd = kNotReadTail.german;

// Run
inline constexpr Text kLoadingCad{L"Lade SOLIDWORKS...", L"Loading SOLIDWORKS..."};
inline constexpr Text kCadNotLoaded{
    L"SOLIDWORKS konnte nicht geladen werden.\nDie Anwendung ist entweder "
    L"nicht installiert, oder die Installation ist zerstört.",
    L"Could not load SOLIDWORKS.\nThe application either is not installed, "
    L"or the installation is corrupt."};
inline constexpr Text kCadTooOld{L"SOLIDWORKS 99/250 muss mindestens installiert sein.",
                                 L"SOLIDWORKS 99/250 is required."};
inline constexpr Text kMapNotWrittenLead{L"FEHLER: Datei ", L"ERROR: File "};
inline constexpr Text kMapNotWrittenEnd{L" kann nicht zum Schreiben geöffnet werden!",
                                        L" cannot be opened for write access!"};
inline constexpr Text kRecordsMissing{
    L" kann nicht geschrieben werden!\nDie betroffenen Normteile fehlen in dieser Datei.",
    L" cannot be written!\nThe standard parts concerned are missing from this file."};
inline constexpr Text kSourceNotOpenedLead{
    L"Kopieren der Normteil-Dateien fehlgeschlagen!\n\nDie Quell-Datei \"",
    L"Filecopy failed!\n\nThe source file \""};
inline constexpr Text kTargetNotOpenedLead{
    L"Kopieren der Normteil-Dateien fehlgeschlagen!\n\nDie Ziel-Datei \"",
    L"Filecopy failed!\n\nThe target file \""};
inline constexpr Text kNotOpenedMiddle{L"\" konnte nicht geöffnet werden.\nError: ",
                                       L"\" could not be opened.\nError: "};
inline constexpr Text kNotOpenedEnd{L".\nMöglicherweise ist die Datei derzeit in Verwendung.",
                                    L".\nMaybe the file is already in use."};
inline constexpr Text kNotCopiedLead{
    L"Kopieren der Normteil-Dateien fehlgeschlagen!\n\nSchreib-/Lesefehler beim Kopieren von\n\"",
    L"Filecopy failed!\n\nRead/write error while copying of\n\""};
inline constexpr Text kNotCopiedMiddle{L"\" nach\n\"", L"\" to\n\""};
inline constexpr Text kNoFolderLead{L"Verzeichnis '", L"Cannot create directory '"};
inline constexpr Text kNoFolderEnd{L"' kann nicht angelegt werden.", L"'."};
inline constexpr Text kNoFolderFileThere{
    L"' kann nicht angelegt werden.\n"
    L"Es existiert bereits eine Datei mit dem gleichen Namen.",
    L"'.\nA file with the same name exists."};
inline constexpr Text kStopWaiting{L"SOLIDWORKS antwortet nicht.\n\nSoll nicht länger gewartet werden?",
                                   L"SOLIDWORKS is not responding.\n\nDo you want to stop waiting?"};
inline constexpr const wchar_t* kUnknownError = L"unknown error";
inline constexpr Text kCopy{L"Kopiere: ", L"Copy: "};
inline constexpr Text kCopyTo{L"nach: ", L"to: "};
inline constexpr Text kCurrentFile{L"Bearbeite Datei: ", L"Current file: "};
inline constexpr Text kNewBomEntry{L"Setze neuen Stückl.-Eintrag:  ", L"Set new BOM entry:  "};
inline constexpr Text kSavingFile{L"Schreibe Datei...", L"Saving file..."};
inline constexpr Text kCurrentConfiguration{L"Aktuelle Konfiguration:  ", L"Current Configuration:  "};
inline constexpr Text kReallyCancel{
    L"Wirklich abbrechen?\n(Die Stücklisteneinträge der Konfigurationen des "
    L"aktuellen Normteils werden noch zu Ende geschrieben).",
    L"Do you really want to cancel?\n(The BOM entries of these configurations "
    L"are still changed and saved)."};
inline constexpr Text kCancelled{L"Abbruch durch Benutzer!\n\nEs wurden nicht alle Dateien kopiert.",
                                 L"Canceled by user!\n\nNot all files are copied."};
inline constexpr Text kNoFileNameLead{L"FEHLER: '", L"ERROR: '"};
inline constexpr Text kNoFileNameEnd{L"' ist kein Dateiname!\nDas betroffene Normteil wird übergangen.",
                                     L"' is not a file name!\nThe standard part concerned is skipped."};
inline constexpr Text kFinished{L"Umsetzungen erfolgreich beendet.", L"Conversion successfully finished."};

// Whole texts

inline std::wstring MapMissing(const std::wstring& map)
{
    return kMapMissingLead.Current() + map + kMapMissingEnd.Current();
}

inline std::wstring OverwriteMap(const std::wstring& mappedFolder)
{
    return kOverwriteLead.Current() + mappedFolder + kOverwriteEnd.Current();
}

inline std::wstring MapNotRead(const std::wstring& map, int language = 1)
{
    return kNotRead.In(LanguageOf(language)) + map + kNotReadTail.In(LanguageOf(language));
}

inline std::wstring SyntaxError(int line, const std::wstring& map, int language = 1)
{
    return kSyntaxError.In(LanguageOf(language)) + std::to_wstring(line) + kSyntaxErrorMiddle + map +
           kNotEvaluated.In(LanguageOf(language));
}

inline std::wstring MapNotWritten(const std::wstring& map)
{
    return kMapNotWrittenLead.Current() + map + kMapNotWrittenEnd.Current();
}

inline std::wstring RecordsMissing(const std::wstring& map)
{
    return kMapNotWrittenLead.Current() + map + kRecordsMissing.Current();
}

inline std::wstring NoFolder(const std::wstring& folder)
{
    return kNoFolderLead.Current() + folder + kNoFolderEnd.Current();
}

inline std::wstring NoFolderAsFileThere(const std::wstring& folder)
{
    return kNoFolderLead.Current() + folder + kNoFolderFileThere.Current();
}

inline std::wstring SourceNotOpened(const std::wstring& source, const std::wstring& error)
{
    return kSourceNotOpenedLead.Current() + source + kNotOpenedMiddle.Current() + error +
           kNotOpenedEnd.Current();
}

// The German text names the target, the English one the source.
inline std::wstring TargetNotOpened(const std::wstring& source, const std::wstring& target,
                                    const std::wstring& error)
{
    return kTargetNotOpenedLead.Current() + (g_nLanguage != 0 ? target : source) +
           kNotOpenedMiddle.Current() + error + kNotOpenedEnd.Current();
}

inline std::wstring NotCopied(const std::wstring& source, const std::wstring& target,
                              const std::wstring& error)
{
    return kNotCopiedLead.Current() + source + kNotCopiedMiddle.Current() + target + L"\".\nError: " + error;
}

}  // namespace expected
