// SPDX-License-Identifier: Apache-2.0

#include "core/message/message_copy.h"

#include <fcntl.h>

#include <cstdlib>

#include "core/run/temporary_files.h"

namespace autoresponder {

tolva::Result<MessageCopy> MessageCopy::make() {
    tolva::Result<tolva::Descriptor> file = tolva::opened(mkostemp(mail_file_name, O_CLOEXEC));
    if (!file) {
        return tolva::Errno{file.error()};
    }
    return MessageCopy(std::move(*file));
}

void MessageCopy::append(std::string_view bytes) {
    if (written_) {
        written_ = tolva::write_whole(file_.get(), bytes);
    }
}

tolva::Result<tolva::Descriptor> MessageCopy::open() {
    return tolva::opened(::open(mail_file_name, O_RDONLY | O_CLOEXEC));
}

}  // namespace autoresponder
