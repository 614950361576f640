// The stop list dialog and its procedure name dialog, "関数名入力", with the list of all the
// module's procedures behind its Browse button.
#pragma once

#include <windows.h>

#include "debugger/debug_session.h"

// Runs the stop list dialog, owned by `owner`, on the session's stop list.
void runStopListDialog(HWND owner, CZPKDebugSession& session);
