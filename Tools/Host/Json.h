/// JSON text, written as it goes.
#pragma once

#include <cstdio>
#include <string>
#include <string_view>

namespace lum::host {

/// `text` as a JSON string with its quotes.
inline std::string jsonString(std::string_view text) {
    std::string result = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\') {
            result += {'\\', c};
        } else if (static_cast<unsigned char>(c) < 0x20) {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(c));
            result += escape;
        } else {
            result += c;
        }
    }
    return result + "\"";
}

} // namespace lum::host
