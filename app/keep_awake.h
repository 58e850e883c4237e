// Asks Windows not to put the machine to sleep. The request is the calling thread's and ends with it.
#pragma once

// Makes or withdraws the request where `wanted` differs from `kept`, which starts as false. Main thread only.
void keep_awake(bool* kept, bool wanted);
