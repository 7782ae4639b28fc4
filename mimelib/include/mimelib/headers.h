// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <memory>

#include <mimelib/component.h>
#include <mimelib/enum.h>
#include <mimelib/string.h>

class DwAddressList;
class DwDateTime;
class DwMailboxList;
class DwMechanism;
class DwMediaType;
class DwText;

/// The header fields of an entity (RFC 822, section 3). Names are compared without regard to ASCII
/// case; of several fields with one name the first counts. The headers own the field bodies; that
/// of a missing field is empty.
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
