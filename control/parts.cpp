// SPDX-License-Identifier: Apache-2.0

#include "control/parts.h"

#include <stdexcept>
#include <string_view>

#include "core/message/dw_string.h"
#include "core/message/message_text.h"
#include "encoding/iconv_recode.h"

namespace autoresponder::control {

namespace {

constexpr int kDeepest = 10;
constexpr int kMostParts = 1000;

class PartVisitor {
  public:
    using Visit = std::function<bool(const DwEntity& part, const std::string& number)>;

    explicit PartVisitor(const Visit& visit) : visit_(visit) {}

    // False when there is to be no further visit.
    bool visit_parts_of(const DwEntity& entity, const std::string& prefix, int depth) {
        int number = 0;
        for (const DwBodyPart* part = entity.Body().FirstBodyPart(); part != nullptr;
             part = part->Next()) {
            if (++count_ > kMostParts ||
                !visit_part(*part, prefix + std::to_string(++number), depth)) {
                return false;
            }
        }
        return true;
    }

  private:
    bool visit_part(const DwBodyPart& part, const std::string& number, int depth) {
        if (is_multipart(part)) {
            return depth == kDeepest || visit_parts_of(part, number + ".", depth + 1);
        }
        return !is_text(part) || visit_(part, number);
    }

    const Visit& visit_;
    int count_ = 0;
};

}  // namespace

std::string type_of(const DwEntity& entity) {
    DwHeaders& headers = entity.Headers();
    if (!headers.HasContentType()) {
        return "";
    }
    const std::string_view field = to_view(headers.ContentType().AsString());
    std::string type(field.substr(0, field.find(';')));
    type.erase(type.find_last_not_of(" \t\r\n") + 1);
    return type;
}

bool is_multipart(const DwEntity& entity) {
    DwHeaders& headers = entity.Headers();
    return headers.HasContentType() && headers.ContentType().Type() == DwMime::kTypeMultipart;
}

std::string text_in_utf8(const DwEntity& entity) {
    DwString body;
    DecodeBody(entity, body);
    std::string text = to_string(body);
    try {
        return tolva::iconvRecode(text, to_string(GetCharset(entity)), "UTF-8", true);
    } catch (const std::runtime_error&) {
        return text;
    }
}

void visit_text_parts(
    const DwMessage& message,
    const std::function<bool(const DwEntity& part, const std::string& number)>& visit) {
    PartVisitor(visit).visit_parts_of(message, "", 1);
}

}  // namespace autoresponder::control
