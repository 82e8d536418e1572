#pragma once

#include <json/json.h>

#include <string>
#include <string_view>

/// Sets a member to a text of any bytes. JSON carries Unicode alone: what is none has U+FFFD in its place,
/// and all the bytes stand in hexadecimal in a member beside it, of the same name with "Bytes" behind.
void setText(Json::Value& object, const std::string& member, std::string_view text);

/// The value as lines of UTF-8, with every control character escaped: DEL and C1 may stand in JSON as they
/// are, but steer a terminal. digits: of numbers with a fraction, counted as kind says.
std::string jsonDocument(const Json::Value& value, unsigned digits, Json::PrecisionType kind);
