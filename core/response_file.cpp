#include "core/response_file.h"

#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <stdexcept>

#include "core/diagnostics.h"
#include "core/run_end.h"

namespace {

int make_file() {
    // mkstemp has put the name of the run's previous reply here; only the template makes a new one.
    reset_resp_uu_file_name();
    return mkstemp(resp_uu_file_name);
}

}  // namespace

ResponseFile::ResponseFile() : fd_(make_file()), made_(fd_) {}

ResponseFile::~ResponseFile() {
    if (made_) {
        unlink(resp_uu_file_name);
    }
}

void ResponseFile::write(const std::function<void(std::ostream&)>& contents) const {
    if (!made_) {
        return;
    }
    std::ofstream stream(resp_uu_file_name, std::ios_base::out | std::ios_base::trunc);
    contents(stream);
    stream.close();
    if (!stream) {
        const int error = errno;
        std::cerr << "autoresponder: Failed to write temporary file with response mail contents '"
                  << resp_uu_file_name << "': " << error_text(error) << std::endl;
        errno = error;
        throw std::runtime_error("Failed to generate response mail contents");
    }
}
