// SPDX-License-Identifier: Apache-2.0

#include "tests/fuzz/mimelib/property.h"

namespace {

naive::Address checked(const DwAddress& address, const DwString& list) {
    require(address.IsValid(), "only valid addresses are listed");
    require(address.IsGroup() != address.IsMailbox(), "an address is either group or mailbox");
    if (address.IsGroup()) {
        return {true, "", ""};
    }
    const auto& mailbox = static_cast<const DwMailbox&>(address);
    const std::string local_part = to_string(mailbox.LocalPart());
    require(!local_part.empty(), "a mailbox has a local part");
    require(local_part.find_first_of("\r\n") == std::string::npos,
            "no line end is left in the local part");
    // A domain in one piece is not copied.
    if (to_string(list).find(to_string(mailbox.Domain())) == std::string::npos) {
        require(!is_slice(mailbox.Domain(), list), "a joined domain is no slice");
    }
    return {false, local_part, to_string(mailbox.Domain())};
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const DwString text = input(data, size);
    const auto read = [&](const DwAddress& address) { return checked(address, text); };
    const DwAddressList addresses(text);
    require(read_all([&] { return addresses.FirstAddress(); }, read) ==
                naive::addresses(to_string(text), true),
            "an address list reads as by the naive reader");
    const DwMailboxList mailboxes(text);
    require(read_all([&]() -> DwAddress* { return mailboxes.FirstMailbox(); }, read) ==
                naive::addresses(to_string(text), false),
            "a mailbox list reads as by the naive reader");
    return 0;
}
