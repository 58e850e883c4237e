// How a search asks whether a file is there. The searches are portable and take the question as a function; the
// program answers it with file_exists, a test with a list.
#pragma once

using FileExists = bool (*)(void* context, const char* path);

// The system's answer; it needs no context. True for a directory, too. Windows only.
bool file_exists(void* context, const char* path);
