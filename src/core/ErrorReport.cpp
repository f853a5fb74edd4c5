#include "core/ErrorReport.h"

#include <atomic>
#include <iostream>

namespace Tessaly {

namespace {

std::atomic<ErrorSink> errorSink = nullptr;

} // namespace

void reportError(const std::string& line) {
    std::cerr << line + '\n' << std::flush;
    if (const ErrorSink sink = errorSink) {
        sink(line);
    }
}

void setErrorSink(ErrorSink sink) {
    errorSink = sink;
}

} // namespace Tessaly
