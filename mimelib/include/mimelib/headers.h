#pragma once

#include <memory>

#include <mimelib/component.h>
#include <mimelib/enum.h>

class DwAddressList;
class DwDateTime;
class DwMailboxList;
class DwMechanism;
class DwMediaType;
class DwText;

/// The header fields of an entity (RFC 822, section 3). Names compare without ASCII case; of
/// several fields of one name the first counts. Field bodies are owned by the headers; that of a
/// field which is not there is an empty one.
class DwHeaders : public DwMessageComponent {
  public:
    explicit DwHeaders(DwString text) noexcept;
    ~DwHeaders() override;
    DwHeaders(const DwHeaders&) = delete;
    DwHeaders& operator=(const DwHeaders&) = delete;

    DwBool HasReplyTo() const;
    DwBool HasFrom() const;
    DwBool HasSubject() const;
    DwBool HasDate() const;
    DwBool HasContentType() const;
    DwBool HasContentTransferEncoding() const;

    DwAddressList& ReplyTo();
    DwMailboxList& From();
    DwText& Subject();
    DwDateTime& Date();
    DwMediaType& ContentType();
    DwMechanism& ContentTransferEncoding();

  private:
    struct Fields;

    Fields& fields() const;

    mutable std::unique_ptr<Fields> fields_;
};
