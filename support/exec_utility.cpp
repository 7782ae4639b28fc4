// SPDX-License-Identifier: Apache-2.0

#include "support/exec_utility.h"

#include <cerrno>
#include <cstdarg>
#include <new>
#include <string>
#include <string_view>

#include "support/c_pointer.h"
#include "support/child_process.h"
#include "support/conf.h"
#include "support/conf_variables.h"
#include "support/exec_output.h"
#include "support/exec_run.h"
#include "support/log.h"

namespace child = tolva::child;

namespace {

bool is_utility_name(std::string_view name) {
    return !name.empty() && name != "." && name != ".." && name.find('/') == std::string_view::npos;
}

// do_exec of a path in parts.
int exec_below(std::string_view root, std::string_view directory, const char* name,
               char* const argv[]) {
    std::string path;
    try {
        path.append(root).append(directory).append(name);
    } catch (const std::bad_alloc&) {
        errno = ENOMEM;
        child::report_failed_malloc(0);
        return -1;
    }
    return do_exec(path.c_str(), argv);
}

}  // namespace

int fork_execv_log(const char* path, char* const argv[]) {
    char* collected_output = nullptr;
    char* collected_errors = nullptr;
    const int status = fork_execv_getouterr(&collected_output, &collected_errors, path, argv);
    const int error = errno;
    const tolva::CPointer<char> output(collected_output);
    const tolva::CPointer<char> errors(collected_errors);
    if (status == 0) {
        return 0;
    }
    errno = 0;
    if (status == -1 || (*output == '\0' && *errors == '\0')) {
        messlog2(0, 0, "%s execution failed (no output)", path);
    } else {
        messlog2(0, 0, "%s execution failed:\n%s%s", path, output.get(), errors.get());
    }
    errno = error;
    return status;
}

int fork_execl_log(const char* path, ...) {
    va_list arguments;
    va_start(arguments, path);
    const int result = child::with_arguments(
        arguments, 0, [&](char** argv) { return fork_execv_log(path, argv); });
    va_end(arguments);
    return result;
}

int util_exec_args(const char* name, char* const argv[]) {
    if (name == nullptr || !is_utility_name(name)) {
        errno = 0;
        messlog2(0, 0, "Utility name '%s' is invalid. Use only utility name without path.",
                 name != nullptr ? name : "(null)");
        errno = EINVAL;
        return -1;
    }
    return exec_below(tvaConfGetDefaultByIndex(PRODUCT_ROOT_D), "/admin/bin/", name, argv);
}

int util_exec(const char* name, ...) {
    va_list arguments;
    va_start(arguments, name);
    const int result = child::with_arguments(
        arguments, 0, [&](char** argv) { return util_exec_args(name, argv); });
    va_end(arguments);
    return result;
}

int util_libexec(const char* name, ...) {
    if (name == nullptr) {
        errno = EINVAL;
        return -1;
    }
    va_list arguments;
    va_start(arguments, name);
    const int result = child::with_arguments(arguments, 0, [&](char** argv) {
        return exec_below("/usr/lib/tolva-9.0", "/", name, argv);
    });
    va_end(arguments);
    return result;
}
