#include "command/JsonText.h"

#include "command/PrintableText.h"
#include "svbase/util/EscapedWord.h"

#include <cstddef>
#include <cstdint>

namespace {

std::string withControlsEscaped(std::string_view json) {
    std::string result;
    for (std::size_t i = 0; i < json.size(); ++i) {
        const auto code = static_cast<unsigned char>(json[i]);
        const auto next = static_cast<unsigned char>(i + 1 < json.size() ? json[i + 1] : 0);
        if (code == 0x7F) {
            result += "\\u007f";
        } else if (code == 0xC2 && next >= 0x80 && next < 0xA0) {
            result += "\\u00";
            Util::appendHexByte(result, next);
            ++i;
        } else {
            result += json[i];
        }
    }
    return result;
}

} // namespace

void setText(Json::Value& object, const std::string& member, std::string_view text) {
    object[member] = wellFormed(text);
    if (isUtf8(text)) {
        return;
    }
    std::string bytes;
    for (const char c : text) {
        Util::appendHexByte(bytes, static_cast<std::uint8_t>(c));
    }
    object[member + "Bytes"] = bytes;
}

std::string jsonDocument(const Json::Value& value, unsigned digits, Json::PrecisionType kind) {
    Json::StreamWriterBuilder writer;
    writer["indentation"] = "  ";
    writer["emitUTF8"] = true;
    writer["precision"] = digits;
    writer["precisionType"] = kind == Json::PrecisionType::decimalPlaces ? "decimal" : "significant";
    return withControlsEscaped(Json::writeString(writer, value)) + "\n";
}
