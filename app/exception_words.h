// What Windows' exception codes mean in words: a program that dies of one leaves with the code as its exit code.
#pragma once

#include <cstdint>

// "access violation" for 0xC0000005 and so on; null for a code that is none of these.
const char* exception_words(uint32_t code);
