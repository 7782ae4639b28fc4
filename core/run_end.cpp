#include "core/run_end.h"

#include <cstdlib>

#include "core/temporary_files.h"

void correct_exit() {
    remove_temporary_files();
    std::exit(EXIT_SUCCESS);
}
