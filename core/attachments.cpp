#include "core/attachments.h"

#include <sys/stat.h>

#include "core/database.h"
#include "support/string_helpers.h"

Attachments find_attachments(MYSQL* connection, const std::string& rn_id,
                             const std::string& directory) {
    Attachments attachments;
    QueryResult rows = query(connection, "select filename from resp_attach where rn_id=" + rn_id);
    while (rows.fetch()) {
        std::string filename = rows.text(0, "");
        if (filename.empty()) {
            continue;
        }
        const std::string name = tolva_trim(filename.data());
        const std::string path = std::string(directory).append("/").append(name);
        struct stat status {};
        if (stat(path.c_str(), &status) == 0) {
            attachments.present.push_back(name);
        } else {
            attachments.missing += name + "\n";
        }
    }
    return attachments;
}
