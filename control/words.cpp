#include "control/words.h"

const char* word_of(Verdict verdict) {
    switch (verdict) {
        case Verdict::kWouldAnswer:
            return "would answer";
        case Verdict::kWouldNotAnswer:
            return "would not answer";
        case Verdict::kCannotTell:
            break;
    }
    return "cannot tell";
}

const char* word_of(Sender::Field field) {
    return field == Sender::Field::kReplyTo ? "Reply-To" : "From";
}

const char* word_of(MessageText::Source source) {
    switch (source) {
        case MessageText::Source::kMessage:
            return "the message";
        case MessageText::Source::kPart:
            return "a part";
        case MessageText::Source::kNoPart:
            return "no part";
        case MessageText::Source::kOtherType:
            break;
    }
    return "nothing";
}

const char* word_of(Lookup lookup) {
    switch (lookup) {
        case Lookup::kOwnName:
            return "its own name";
        case Lookup::kMailAlias:
            return "a mail alias";
        case Lookup::kDomainAlias:
            return "a domain alias";
        case Lookup::kBothAliases:
            break;
    }
    return "a mail alias on a domain alias";
}

const char* word_of(KeyPlace place) {
    switch (place) {
        case KeyPlace::kSubject:
            return "subject";
        case KeyPlace::kText:
            return "text";
        case KeyPlace::kEverything:
            break;
    }
    return "everything";
}

const char* word_of(ExplainedAttachment::State state) {
    switch (state) {
        case ExplainedAttachment::State::kPresent:
            return "present";
        case ExplainedAttachment::State::kMissing:
            return "missing";
        case ExplainedAttachment::State::kUnreadable:
            break;
    }
    return "unreadable";
}

const char* word_of(ExplainedMail::Kind kind) {
    switch (kind) {
        case ExplainedMail::Kind::kForward:
            return "forward";
        case ExplainedMail::Kind::kNotice:
            return "notice";
        case ExplainedMail::Kind::kReply:
            return "reply";
        case ExplainedMail::Kind::kSizeNotice:
            break;
    }
    return "size-notice";
}

bool is_taken(MessageText::Source source) {
    return source == MessageText::Source::kMessage || source == MessageText::Source::kPart;
}
