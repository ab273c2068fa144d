// The compiler's run-time libraries are linked into this module. What they take for a module they keep until
// the process ends; a client that loads and unloads the module again and again would run out of it: of
// thread-local indices after a thousand times.
#pragma once

namespace orvo::com {

// DllMain, DLL_PROCESS_DETACH: the module is unloaded while the process goes on. What the run-time libraries
// hold is given back when everything of the module has ended.
//
// A module that uses this must not disable thread library calls: each thread's part goes with its thread.
void EndRuntimeWithModule() noexcept;

}  // namespace orvo::com
