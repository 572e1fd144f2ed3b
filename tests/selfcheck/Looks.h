#pragma once

#include "tests/selfcheck/Finding.h"

// The looks of stage 0. None of them changes anything on the machine.

// LookAtFiles.cpp
Finding LookAtChecksums();
Finding LookAtMitigations();

// LookAtProgram.cpp: at the program. Most of these looks share one start of it; the others start it anew.
Finding LookAtStart();
Finding LookAtResourceFolder();
Finding LookAtDpiAwareness();
Finding LookAtFrame();
Finding LookAtWorkArea();
Finding LookAtGround();
Finding LookAtCommonControls();
Finding LookAtLibraries();
Finding LookAtWorkingFolder();

// LookAtSystem.cpp
Finding LookAtOldWindows();
Finding LookAtKeepAwake();
Finding LookAtNestedJobs();
Finding LookAtDialogFont();
Finding LookAtKeyLayout();
Finding LookAtFileCase();
Finding LookAtCodePage();

// LookAtRegistry.cpp
Finding LookAtLibraryView();
Finding LookAtUserView();
Finding LookAtCadVersions();
Finding LookAtCurrentCad();
