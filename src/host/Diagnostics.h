// SPDX-License-Identifier: MIT
#pragma once

class QString;

namespace LARKA {

// The lines by which hosts know what the library does. Their texts are a contract. They go to the
// standard error stream, or line by line to the host's handler (larka/extras.h).

/// Writes a text, made as by printf. It ends with a newline and may have several lines.
[[gnu::format(printf, 1, 2)]] void diagnose(const char* format, ...);

/// Writes a line without its newline: through Qt's message handler, if the host has none here.
void warn(const QString& line);

/// Whether the host's handler gets what is written now. It doesn't get what it causes itself.
bool diagnosticsAreHandled();

}  // namespace LARKA
