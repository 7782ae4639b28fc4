#include <mimelib/mimepp.h>

// All tables are made by the compiler. The function is part of the interface for libraries that
// have to set theirs up.
void DwInitialize() {}
