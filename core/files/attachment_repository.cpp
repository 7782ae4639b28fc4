// SPDX-License-Identifier: Apache-2.0

#include "core/files/attachment_repository.h"

#include <cerrno>
#include <string_view>

#include "core/files/common_look_up.h"
#include "core/files/file_service.h"
#include "core/panel/database_session.h"
#include "core/panel/mailbox.h"
#include "support/conf.h"
#include "support/conf_variables.h"
#include "support/string_helpers.h"

namespace autoresponder {

namespace {

// Whether a component of the path is "..", which leads out of the repository. A name with a zero
// byte has components that look different to the kernel.
bool climbs(std::string_view path) {
    return ("/" + std::string(path) + "/").find("/../") != std::string::npos ||
           path.find('\0') != std::string_view::npos;
}

}  // namespace

AttachmentRepository::AttachmentRepository(const Mailbox& mailbox)
    : AttachmentRepository(tvaConfGetDefaultByIndex(TOLVA_MAILNAMES_D),
                           mailbox.domain + "/" + mailbox.name + "/@attachments") {}

std::string AttachmentRepository::path(const std::string& name) const {
    return root_ + "/" + path_ + "/" + name;
}

bool AttachmentRepository::has(const std::string& name) const {
    if (climbs(name)) {
        return true;  // no notice about it; open refuses it
    }
    const FileAnswer answer = files_->look_up(path_ + "/" + name, Question::kIsThere);
    return answer.state != LookUp::State::kMissing;
}

tolva::Result<OpenedFile> AttachmentRepository::open(const std::string& name) const {
    if (climbs(name)) {
        return tolva::Errno{EACCES};
    }
    const FileAnswer answer = files_->look_up(path_ + "/" + name, Question::kOpen);
    if (answer.error != 0) {
        return tolva::Errno{answer.error};
    }
    return OpenedFile(*files_);
}

Attachments find_attachments(Session& session, const std::string& rn_id,
                             const AttachmentRepository& repository) {
    Attachments attachments;
    QueryResult rows =
        session.ask_or_end_run("select filename from resp_attach where rn_id=" + rn_id);
    while (rows.fetch()) {
        std::string filename = rows.text(0, "");
        if (filename.empty()) {
            continue;
        }
        std::string name = tolva_trim(filename.data());
        std::vector<std::string>& names =
            repository.has(name) ? attachments.present : attachments.missing;
        names.push_back(std::move(name));
    }
    return attachments;
}

}  // namespace autoresponder
