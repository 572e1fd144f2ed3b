#pragma once

// Serves the given major version until the last client has released its objects or the server is told to end.
// Called in the process that COM starts. Returns the exit status of the process: 0, or 1 if the start failed.
int Serve(int version);
