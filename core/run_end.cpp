#include "core/run_end.h"

#include <cstdlib>
#include <exception>
#include <new>

#include "core/diagnostics.h"
#include "core/temporary_files.h"

void report_end_of_run() {
    try {
        throw;
    } catch (const EndOfRun& end) {
        report(end.reason());
    } catch (const std::bad_alloc&) {
        report("autoresponder: Program failed due to exhausted memory");
    } catch (const std::exception& error) {
        report("autoresponder: Failed to process the message: ", error.what());
    }
}

void correct_exit() {
    remove_temporary_files();
    std::exit(EXIT_SUCCESS);
}
