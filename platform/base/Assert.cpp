#include "platform/base/Assert.h"

#include <cstdio>
#include <cstdlib>

namespace Platform {

namespace {

void writeToStandardError(const char* text, const char* file, int line) {
    std::fprintf(stderr, "assertion failed: %s (%s:%d)\n", text, file, line);
}

AssertHandler currentHandler = writeToStandardError;

}  // namespace

AssertHandler assertHandlerIs(AssertHandler handler) {
    AssertHandler before = currentHandler;
    currentHandler = handler != nullptr ? handler : writeToStandardError;
    return before;
}

void assertFail(const char* text, const char* file, int line) {
    currentHandler(text, file, line);
    std::abort();
}

}  // namespace Platform
