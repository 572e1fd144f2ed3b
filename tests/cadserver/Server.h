#pragma once

// Serves a major version of the CAD system in the process that COM starts. Returns 1, the exit status of the
// process, if the start fails. Otherwise does not return: the process ends as README.md describes.
int Serve(int version);
