#include "core/attachments.h"

#include "core/attachment_repository.h"
#include "core/database.h"
#include "support/string_helpers.h"

Attachments find_attachments(MYSQL* connection, const std::string& rn_id,
                             const AttachmentRepository& repository) {
    Attachments attachments;
    QueryResult rows =
        rows_or_end_run(connection, "select filename from resp_attach where rn_id=" + rn_id);
    while (rows.fetch()) {
        std::string filename = rows.text(0, "");
        if (filename.empty()) {
            continue;
        }
        const std::string name = tolva_trim(filename.data());
        if (repository.has(name)) {
            attachments.present.push_back(name);
        } else {
            attachments.missing += name + "\n";
        }
    }
    return attachments;
}
