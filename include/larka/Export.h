// Export.h: which names of the library its hosts can link against.
#pragma once

/// Marks a class or function of the public interface. Everything without the mark is hidden inside
/// the shared library, so that the library's internal names never meet the host's.
#define LARKA_EXPORT __attribute__((visibility("default")))
