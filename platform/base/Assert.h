#pragma once

namespace Platform {

// Called when an assertion fails, before the process aborts. A handler may leave by an exception
// (the laboratory ends a run that way); when it returns, the process aborts.
using AssertHandler = void (*)(const char* text, const char* file, int line);

// Sets the process-wide handler and returns the one before. Null restores the default, which
// writes the text and the place to standard error.
AssertHandler assertHandlerIs(AssertHandler handler);

[[noreturn]] void assertFail(const char* text, const char* file, int line);

// Asserts what only a fault of our own program can break. Never for what a neighbour sends.
inline void require(bool holds, const char* text, const char* file = __builtin_FILE(),
                    int line = __builtin_LINE()) {
    if (!holds) [[unlikely]] {
        assertFail(text, file, line);
    }
}

}  // namespace Platform
