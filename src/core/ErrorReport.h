#pragma once

#include <string>

namespace Tessaly {

/// Takes each line that reportError() writes, without its line end. Called on the reporting thread; mustn't throw.
using ErrorSink = void (*)(const std::string& line);

/// Reports a failure that no caller is told more of than a neutral result: writes one line to the standard error stream
/// in one piece, and hands it to the sink. Any thread.
void reportError(const std::string& line);

/// Where reported lines go besides, such as the program's log; null for nowhere.
void setErrorSink(ErrorSink sink);

/// Sets what comes before every line on the standard error stream, such as the name of the file that is worked on.
/// Before other threads report.
void setErrorPrefix(const std::string& prefix);

} // namespace Tessaly
