#pragma once

// Serves the given major version until the last client has gone or the server is asked to end. Called in the
// process that COM starts. Returns the process's exit status: 0, or 1 when the server did not come to serve.
int Serve(int version);
