// SPDX-License-Identifier: MIT
#include "host/Diagnostics.h"

#include <QString>
#include <QtGlobal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "host/StackUse.h"
#include "larka/extras.h"

namespace LARKA {

namespace {

// Without destructors: lines are written until the very end of the process.
DiagnosticsHandler g_handler = nullptr;
void* g_userData = nullptr;

void handOver(const char* line) {
  const OnStack handling(diagnosticsUse());
  g_handler(line, g_userData);
}

/// Hands over the lines of `text` that aren't empty. The handler may take itself away meanwhile.
void handOverLines(char* text) {
  char* rest = nullptr;
  for (char* line = strtok_r(text, "\n", &rest); line; line = strtok_r(nullptr, "\n", &rest)) {
    if (diagnosticsAreHandled())
      handOver(line);
    else
      fprintf(stderr, "%s\n", line);
  }
}

}  // namespace

void SetDiagnosticsHandler(DiagnosticsHandler handler, void* userData) {
  g_handler = handler;
  g_userData = userData;
}

void SilenceDiagnostics() {
  SetDiagnosticsHandler([](const char*, void*) {}, nullptr);
}

bool diagnosticsAreHandled() { return g_handler && diagnosticsUse().isIdle(); }

void diagnose(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  char* text = nullptr;
  if (!diagnosticsAreHandled())
    vfprintf(stderr, format, arguments);
  else if (vasprintf(&text, format, arguments) >= 0)
    handOverLines(std::unique_ptr<char, decltype(&free)>(text, free).get());
  va_end(arguments);
}

void warn(const QString& line) {
  if (diagnosticsAreHandled())
    diagnose("%s\n", qUtf8Printable(line));
  else
    qWarning("%s", qUtf8Printable(line));
}

}  // namespace LARKA
