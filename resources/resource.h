#pragma once

// The resource ids that the resource libraries and the code share. The file contains defines only, because
// the resource compiler reads it, too.

// Dialogs
#define IDD_ABOUT 100
#define IDD_TALVENOR 102
#define IDD_TEMPLATE 136
#define IDD_PROGRESS 17766

// Strings, icon, bitmap
#define IDS_ABOUT 101
#define IDI_TALVENOR 128
#define IDB_STATES 134
#define IDB_STATES_125 1341
#define IDB_STATES_150 1342
#define IDB_STATES_200 1343
#define IDB_STATES_300 1344

// Commands of the system menu. The low four bits of each id must be 0, because Windows uses them.
#define IDM_ABOUT 16

// Main dialog
#define IDC_LIST 1002
#define IDC_SOURCE_DIR 1003
#define IDC_BROWSE 1004
#define IDC_MAPPED_DIR 1005
#define IDC_ADD 1006
#define IDC_DELETE 1007
#define IDC_SELECT_ALL 1008
#define IDC_SELECT_NONE 1009
#define IDC_REMOVE_ALL 1010
#define IDC_SHOW_MAP 1011
#define IDC_START 1016
#define IDC_STATUS_FRAME 1018
#define IDC_COPY_ONLY 1024
#define IDC_MARK 1025
#define IDC_VERSION 1026
#define IDC_VERSION_LABEL 1100
#define IDC_REPORT 1110
#define IDM_SELECT_ATTENTION 1111
#define IDC_STATUS_TEXT 1120
#define IDC_CHECK_NAMES 1121
#define IDC_FIND_LABEL 1122
#define IDC_FIND 1123
#define IDC_MORE 1124
#define IDC_HELP_BUTTON 28445

// Commands of the menu of IDC_MORE
#define IDM_FIND 1130
#define IDM_FIND_NEXT 1131
#define IDM_UNDO 1201
#define IDM_REDO 1202
#define IDM_COPY 1203
#define IDM_PASTE 1204
#define IDM_IMPORT 1205
#define IDM_EXPORT 1206

// Cell editors of the list
#define IDC_IN_PLACE_EDIT 1101
#define IDC_IN_PLACE_LIST 1102

// Progress dialog; its cancel button is IDCANCEL
#define IDC_PROGRESS_FIRST 1012
#define IDC_PROGRESS_SECOND 1013
#define IDC_PROGRESS_THIRD 1014
#define IDC_PROGRESS_OVERALL 1015
#define IDC_PROGRESS_FILE 1017

// Template dialog
#define IDC_TEMPLATE_TEXT 1021
#define IDC_TEMPLATE_PREVIEW_LABEL 1030
#define IDC_TEMPLATE_PREVIEW 1031
// The first control of the legend. Each fill-in from %1 to %8 has a row of three controls with consecutive
// ids: the fill-in, its meaning and an example.
#define IDC_TEMPLATE_LEGEND 1032
#define IDC_TEMPLATE_HISTORY 1056

// A control that the code does not access
#ifndef IDC_STATIC
#define IDC_STATIC (-1)
#endif
