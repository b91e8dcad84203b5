#pragma once

#include <QString>

namespace tavix {

// Lines for the system log under "com.brindlecove.tavix.model". Plain functions, because the
// logging macros do not compile inside a coroutine body on g++ 12.
void logModelInfo(const QString& line);
void logModelWarning(const QString& line);

}  // namespace tavix
