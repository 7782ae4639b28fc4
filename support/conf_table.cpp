// SPDX-License-Identifier: Apache-2.0

#include "support/conf_table.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "support/ascii.h"
#include "support/c_pointer.h"
#include "support/log.h"

namespace {

using tolva::CPointer;
using tolva::is_space;

constexpr int kLogLevel = 12;
constexpr std::size_t kFirstCapacity = 20;
constexpr std::size_t kMoreThanCount = 20;

class LineBuffer {
  public:
    // The next line with its line feed, or null at the end of the file and after an error.
    char* read(std::FILE* file) {
        char* text = text_.release();
        const bool got_one = getline(&text, &capacity_, file) >= 0;
        text_.reset(text);
        return got_one ? text : nullptr;
    }

  private:
    CPointer<char> text_;
    std::size_t capacity_ = 0;
};

// The result of a function that fails: errno as it was before reporting and cleaning up.
int failure(int error) {
    errno = error;
    return -1;
}

bool is_name_character(char c) {
    return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_';
}

char* skip_space(char* text) {
    while (is_space(*text)) {
        ++text;
    }
    return text;
}

bool ends_definition(char c) {
    return c == '\0' || c == '#';
}

// Cuts off the comment and the white space before it. The value is not empty before or after.
void cut_value(char* value) {
    char* end = value + std::strcspn(value, "#");
    while (is_space(end[-1])) {
        --end;
    }
    *end = '\0';
}

// Takes one line apart and enters what it defines. -1 only if that cannot be stored.
int read_line(char* line, conf_table* table) {
    char* name = skip_space(line);
    if (ends_definition(*name)) {
        return 0;
    }
    char* name_end = name;
    while (is_name_character(*name_end)) {
        ++name_end;
    }
    if (*name_end != '\0' && !is_space(*name_end)) {
        tolva_log(kLogLevel,
                  "Invalid variable definition %s\nExpected a space after variable name\n", name);
        return 0;
    }
    char* value = skip_space(name_end);
    if (ends_definition(*value)) {
        tolva_log(kLogLevel, "Invalid variable definition %s\nExpected a value", name);
        return 0;
    }
    *name_end = '\0';
    cut_value(value);
    return conf_set_r(name, value, table);
}

conf_entry* find(const char* name, const conf_table& table) {
    conf_entry* end = table.entries + table.count;
    conf_entry* found = std::find_if(table.entries, end, [name](const conf_entry& entry) {
        return std::strcmp(entry.name, name) == 0;
    });
    return found != end ? found : nullptr;
}

conf_entry* find_sorted(const char* name, const conf_table& table) {
    conf_entry* end = table.entries + table.count;
    conf_entry* found =
        std::lower_bound(table.entries, end, name, [](const conf_entry& entry, const char* wanted) {
            return std::strcmp(entry.name, wanted) < 0;
        });
    return found != end && std::strcmp(found->name, name) == 0 ? found : nullptr;
}

}  // namespace

conf_table* conf_new_r() {
    return static_cast<conf_table*>(std::calloc(1, sizeof(conf_table)));
}

int conf_init_r(conf_table* table) {
    std::size_t capacity = kFirstCapacity;
    if (table->entries != nullptr) {
        if (table->count < table->capacity) {
            return 0;
        }
        const std::size_t doubled = table->capacity * 2;
        capacity = doubled > table->count ? doubled : table->count + kMoreThanCount;
    }
    void* entries = reallocarray(table->entries, capacity, sizeof(conf_entry));
    if (entries == nullptr) {
        tolva_log(kLogLevel, "Unable to read configuration: %s", std::strerror(ENOMEM));
        return failure(ENOMEM);
    }
    if (table->entries == nullptr) {
        table->count = 0;
        table->sorted = 1;
    }
    table->entries = static_cast<conf_entry*>(entries);
    table->capacity = capacity;
    return 0;
}

int conf_set_r(const char* name, const char* value, conf_table* table) {
    if (conf_init_r(table) != 0) {
        return -1;
    }
    CPointer<char> own_name(strdup(name));
    CPointer<char> own_value(strdup(value));
    if (!own_name || !own_value) {
        tolva_log(kLogLevel, "Unable to form configuration: %s", std::strerror(ENOMEM));
        return failure(ENOMEM);
    }
    if (conf_entry* known = find(name, *table)) {
        std::free(std::exchange(known->value, own_value.release()));
        return 0;
    }
    table->entries[table->count++] = {own_name.release(), own_value.release()};
    table->sorted = 0;
    return 0;
}

void conf_finalize_r(conf_table* table) {
    if (table->count > 0) {
        std::qsort(table->entries, table->count, sizeof(conf_entry), cmp_conf);
    }
    table->sorted = 1;
}

int conf_read_file_r(const char* path, conf_table* table) {
    if (conf_init_r(table) != 0) {
        return -1;
    }
    const tolva::FilePointer file(std::fopen(path, "re"));
    if (!file) {
        const int error = errno;
        tolva_log(kLogLevel, "unable to open configuration file %s: %s\n", path,
                  std::strerror(error));
        return failure(error);
    }
    LineBuffer line;
    while (char* text = line.read(file.get())) {
        if (read_line(text, table) != 0) {
            return -1;
        }
    }
    const int error = std::feof(file.get()) != 0 ? 0 : errno;
    conf_finalize_r(table);
    if (error != 0) {
        tolva_log(kLogLevel, "Unable to read configuration file: %s", std::strerror(error));
        return failure(error);
    }
    return 0;
}

const char* conf_get_r(const char* name, const conf_table* table) {
    const conf_entry* found = table->sorted != 0 ? find_sorted(name, *table) : find(name, *table);
    return found != nullptr ? found->value : nullptr;
}

void conf_free_r(conf_table* table) {
    if (table == nullptr) {
        return;
    }
    for (std::size_t i = 0; i < table->count; ++i) {
        std::free(table->entries[i].name);
        std::free(table->entries[i].value);
    }
    std::free(table->entries);
    std::free(table);
}

int cmp_conf(const void* left, const void* right) {
    return std::strcmp(static_cast<const conf_entry*>(left)->name,
                       static_cast<const conf_entry*>(right)->name);
}
