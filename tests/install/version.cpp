// The version of the headers is that of the package.
#include <larka/larka.h>
#include <cstdio>
#include <cstring>

static_assert(LARKA_VERSION ==
              LARKA_VERSION_CHECK(LARKA_VERSION_MAJOR, LARKA_VERSION_MINOR, LARKA_VERSION_PATCH));

int main() {
  char parts[32];
  snprintf(parts, sizeof(parts), "%d.%d.%d", LARKA_VERSION_MAJOR, LARKA_VERSION_MINOR,
           LARKA_VERSION_PATCH);
  return strcmp(parts, LARKA_VERSION_STRING) || strcmp(PACKAGE_VERSION, LARKA_VERSION_STRING);
}
