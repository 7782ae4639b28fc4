// SPDX-License-Identifier: Apache-2.0

// What the program relies on of the interface, checked by the compiler: it holds for an installed
// library too.

#include <cstddef>
#include <type_traits>

#include <gtest/gtest.h>
#include <mimelib/mimepp.h>

namespace {

template <typename Derived, typename Base>
constexpr bool kIsA = std::is_base_of_v<Base, Derived>&& std::is_convertible_v<Derived*, Base*>;

static_assert(kIsA<DwMessage, DwEntity> && kIsA<DwBodyPart, DwEntity>);
static_assert(kIsA<DwEntity, DwMessageComponent> && kIsA<DwHeaders, DwMessageComponent>);
static_assert(kIsA<DwBody, DwMessageComponent> && kIsA<DwFieldBody, DwMessageComponent>);
static_assert(kIsA<DwParameter, DwMessageComponent>);
static_assert(kIsA<DwAddressList, DwFieldBody> && kIsA<DwMailboxList, DwFieldBody>);
static_assert(kIsA<DwAddress, DwFieldBody> && kIsA<DwText, DwFieldBody>);
static_assert(kIsA<DwDateTime, DwFieldBody> && kIsA<DwMediaType, DwFieldBody>);
static_assert(kIsA<DwMechanism, DwFieldBody> && kIsA<DwMailbox, DwAddress>);

template <typename Function>
struct Member;

template <typename Class, typename Result, typename... Arguments>
struct Member<Result (Class::*)(Arguments...)> {
    static constexpr bool kIsConst = false;
    using ResultType = Result;
};

template <typename Class, typename Result, typename... Arguments>
struct Member<Result (Class::*)(Arguments...) const> {
    static constexpr bool kIsConst = true;
    using ResultType = Result;
};

template <typename Result, typename Function>
constexpr bool returns(Function /*member*/) {
    return !Member<Function>::kIsConst &&
           std::is_same_v<typename Member<Function>::ResultType, Result>;
}

template <typename Result, typename Function>
constexpr bool const_returns(Function /*member*/) {
    return Member<Function>::kIsConst &&
           std::is_same_v<typename Member<Function>::ResultType, Result>;
}

static_assert(std::is_same_v<DwBool, bool>);
static_assert(returns<void>(&DwMessageComponent::Parse));
static_assert(returns<const DwString&>(&DwMessageComponent::AsString));
static_assert(std::is_same_v<decltype(&DwMessage::NewMessage),
                             DwMessage* (*)(const DwString&, DwMessageComponent*)>);
static_assert(const_returns<DwHeaders&>(&DwEntity::Headers));
static_assert(const_returns<DwBody&>(&DwEntity::Body));
static_assert(const_returns<DwBool>(&DwHeaders::HasReplyTo));
static_assert(const_returns<DwBool>(&DwHeaders::HasFrom));
static_assert(const_returns<DwBool>(&DwHeaders::HasSubject));
static_assert(const_returns<DwBool>(&DwHeaders::HasDate));
static_assert(const_returns<DwBool>(&DwHeaders::HasContentType));
static_assert(const_returns<DwBool>(&DwHeaders::HasContentTransferEncoding));
static_assert(returns<DwAddressList&>(&DwHeaders::ReplyTo));
static_assert(returns<DwMailboxList&>(&DwHeaders::From));
static_assert(returns<DwText&>(&DwHeaders::Subject));
static_assert(returns<DwDateTime&>(&DwHeaders::Date));
static_assert(returns<DwMediaType&>(&DwHeaders::ContentType));
static_assert(returns<DwMechanism&>(&DwHeaders::ContentTransferEncoding));
static_assert(const_returns<DwAddress*>(&DwAddressList::FirstAddress));
static_assert(const_returns<DwMailbox*>(&DwMailboxList::FirstMailbox));
static_assert(const_returns<DwBool>(&DwAddress::IsValid));
static_assert(const_returns<DwBool>(&DwAddress::IsGroup));
static_assert(const_returns<DwBool>(&DwAddress::IsMailbox));
static_assert(const_returns<DwAddress*>(&DwAddress::Next));
static_assert(const_returns<const DwString&>(&DwMailbox::LocalPart));
static_assert(const_returns<const DwString&>(&DwMailbox::Domain));
static_assert(const_returns<int>(&DwMediaType::Type));
static_assert(const_returns<DwParameter*>(&DwMediaType::FirstParameter));
static_assert(const_returns<const DwString&>(&DwParameter::Attribute));
static_assert(const_returns<const DwString&>(&DwParameter::Value));
static_assert(const_returns<DwParameter*>(&DwParameter::Next));
static_assert(const_returns<int>(&DwMechanism::AsEnum));
static_assert(const_returns<DwBodyPart*>(&DwBody::FirstBodyPart));
static_assert(const_returns<DwBodyPart*>(&DwBodyPart::Next));
static_assert(std::is_same_v<decltype(&DwInitialize), void (*)()>);
static_assert(std::is_same_v<decltype(&DwDecodeBase64), int (*)(const DwString&, DwString&)>);
static_assert(
    std::is_same_v<decltype(&DwDecodeQuotedPrintable), int (*)(const DwString&, DwString&)>);

static_assert(std::is_default_constructible_v<DwString> && std::is_copy_constructible_v<DwString>);
static_assert(std::is_constructible_v<DwString, const char*, std::size_t>);
static_assert(std::is_convertible_v<const char*, DwString>);
static_assert(std::is_copy_assignable_v<DwString>);
static_assert(const_returns<const char*>(&DwString::c_str));

TEST(Interface, AMessageIsReadThroughIt) {
    DwInitialize();
    DwMessage* const message = DwMessage::NewMessage(DwString("From: a@b\n\nbody\n"), nullptr);
    message->Parse();
    EXPECT_TRUE(message->Headers().HasFrom());
    EXPECT_TRUE(message->Body().AsString() == DwString("body\n"));
    EXPECT_FALSE(message->Body().AsString() != DwString("body\n"));
    delete message;
}

}  // namespace
