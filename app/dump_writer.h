// Orvek.exe as the writer of a crashed controller's dump. Whoever writes a dump stops all other threads of the
// program meanwhile; one of them may hold a lock that the writing needs, and the one that watches the time stands
// still as well. So it is done from outside, by a second process that the crashed one starts.
#pragma once

// Whether this process was started for that alone. It is then over, and `*exit_code` is 0 when the dump is written.
bool dump_writer_ran(int* exit_code);
