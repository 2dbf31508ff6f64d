// The threads of the DIAG channel.
#pragma once

namespace norvel_diag {

/// Starts a detached thread named "KEMO DIAG"; returns pthread_create's result.
int start_thread(void* (*body)(void*), void* argument);

}  // namespace norvel_diag
