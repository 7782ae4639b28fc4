// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <functional>
#include <string>

#include <mimelib/mimepp.h>

/// The parts of a message, which are searched for key words or not.
namespace autoresponder::control {

/// The type of an entity as its Content-Type field states it, up to the first parameter; empty if
/// it has no such field.
std::string type_of(const DwEntity& entity);

bool is_multipart(const DwEntity& entity);

/// The text of an entity in UTF-8 with its Content-Transfer-Encoding undone; as it stands where its
/// charset is not known.
std::string text_in_utf8(const DwEntity& entity);

/// Calls `visit` for each part of `message` that says it is a text, those within parts included,
/// with its number ("2", "2.1", counted from 1), until it returns false. What is nested more than
/// ten deep, or comes after a thousand parts, is left out.
void visit_text_parts(
    const DwMessage& message,
    const std::function<bool(const DwEntity& part, const std::string& number)>& visit);

}  // namespace autoresponder::control
