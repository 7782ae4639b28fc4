// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cstddef>
#include <memory>

#include <mimelib/enum.h>
#include <mimelib/field_body.h>
#include <mimelib/string.h>

namespace mimelib {
class AddressSequence;
}

/// An element of an address list (RFC 822, section 6): a mailbox or a group. The list owns its
/// elements, reads them on demand and keeps two of them (see mimepp.h).
class DwAddress : public DwFieldBody {
  public:
    DwBool IsValid() const { return valid_; }
    virtual DwBool IsGroup() const = 0;
    DwBool IsMailbox() const { return !IsGroup(); }

    /// The next valid element of the list, or null. The list then keeps that one and this one only.
    DwAddress* Next() const;

  protected:
    DwAddress(DwString text, bool valid) noexcept;

  private:
    friend class mimelib::AddressSequence;

    bool valid_;
    mimelib::AddressSequence* sequence_ = nullptr;
    std::size_t next_position_ = 0;
};

/// A single address. It is valid when it has a local part; the domain may be empty.
class DwMailbox : public DwAddress {
  public:
    DwMailbox(DwString text, DwString local_part, DwString domain) noexcept;

    DwBool IsGroup() const override;

    /// The address without display name, route and comments, and without gaps between its words.
    /// Quotes and brackets are kept. Line ends in the local part become spaces.
    const DwString& LocalPart() const { return local_part_; }
    const DwString& Domain() const { return domain_; }

  private:
    DwString local_part_;
    DwString domain_;
};

/// A named group of mailboxes ("name: a@b, c@d;"). Its members are not read.
class DwGroup : public DwAddress {
  public:
    explicit DwGroup(DwString text, bool named) noexcept;

    DwBool IsGroup() const override;
};

/// A list of mailboxes and groups, as in Reply-To.
class DwAddressList : public DwFieldBody {
  public:
    explicit DwAddressList(DwString text) noexcept;
    ~DwAddressList() override;
    DwAddressList(const DwAddressList&) = delete;
    DwAddressList& operator=(const DwAddressList&) = delete;

    /// The first valid element, or null.
    DwAddress* FirstAddress() const;

  private:
    mutable std::unique_ptr<mimelib::AddressSequence> sequence_;
};

/// A list of mailboxes, as in From. It has no groups: ':' and ';' mean nothing in it.
class DwMailboxList : public DwFieldBody {
  public:
    explicit DwMailboxList(DwString text) noexcept;
    ~DwMailboxList() override;
    DwMailboxList(const DwMailboxList&) = delete;
    DwMailboxList& operator=(const DwMailboxList&) = delete;

    /// The first valid mailbox, or null.
    DwMailbox* FirstMailbox() const;

  private:
    mutable std::unique_ptr<mimelib::AddressSequence> sequence_;
};
