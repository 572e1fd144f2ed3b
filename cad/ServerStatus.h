#pragma once

#include <windows.h>

// What the error codes of calls say about the server process.

// Whether a call failed because its server has exited or is exiting. RPC_S_CALL_FAILED_DNE: the client
// connected just as the server revoked its class object.
inline bool IsServerGone(HRESULT status)
{
    return status == HRESULT_FROM_WIN32(RPC_S_SERVER_UNAVAILABLE) ||
           status == HRESULT_FROM_WIN32(RPC_S_CALL_FAILED) ||
           status == HRESULT_FROM_WIN32(RPC_S_CALL_FAILED_DNE) || status == RPC_E_DISCONNECTED;
}

// Whether connecting, or the first call after it, failed because the server has exited, is exiting or is not
// ready yet.
inline bool IsServerMissing(HRESULT status)
{
    return IsServerGone(status) || status == CO_E_SERVER_EXEC_FAILURE || status == CO_E_SERVER_STOPPING;
}

// Whether creating the object failed because the server is missing. E_FAIL (seen under Wine): the class is
// still registered, but its server no longer creates objects.
inline bool IsCreatorMissing(HRESULT status)
{
    return IsServerMissing(status) || status == E_FAIL;
}
