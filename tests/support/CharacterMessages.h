#pragma once

#include <string>

// What the user is told when characters of a name are replaced.

inline const std::wstring kForbiddenGerman =
    L"Folgende Zeichen sind in Dateinamen nicht erlaubt:\n\t|  /  \\  *  :  \"  ?  <  >  ;  =\n\n"
    L"Diese Zeichen werden nun automatisch durch Unterstriche '_' ersetzt.";
inline const std::wstring kForbiddenEnglish =
    L"The following characters are not allowed to use in file names:\n"
    L"\t|  /  \\  *  :  \"  ?  <  >  ;  =\n\n"
    L"These characters are automatically replaced by underscores '_'.";
inline const std::wstring kFeatureGerman =
    L"Folgende Zeichen sind in den Feature-/Komponenten-Namen von SOLIDWORKS nicht erlaubt:\n\t@  /  ; =\n\n"
    L"Diese Zeichen werden nun automatisch durch Unterstriche '_' ersetzt.";
inline const std::wstring kFeatureEnglish =
    L"The following characters are not allowed to use in feature-/component names of SOLIDWORKS:\n"
    L"\t@  /  ; =\n\nThese characters are automatically replaced by underscores '_'.";
