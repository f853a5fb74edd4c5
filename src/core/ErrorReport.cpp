#include "core/ErrorReport.h"

#include <atomic>
#include <iostream>

namespace Tessaly {

namespace {

std::atomic<ErrorSink> errorSink = nullptr;

std::string& errorPrefix() {
    static std::string prefix;
    return prefix;
}

} // namespace

void reportError(const std::string& line) {
    std::cerr << errorPrefix() + line + '\n' << std::flush;
    if (const ErrorSink sink = errorSink) {
        sink(line);
    }
}

void setErrorPrefix(const std::string& prefix) {
    errorPrefix() = prefix;
}

void setErrorSink(ErrorSink sink) {
    errorSink = sink;
}

} // namespace Tessaly
