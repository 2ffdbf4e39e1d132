// SPDX-License-Identifier: Apache-2.0

#include "desk/json.h"

#include "desk/words.h"

namespace desk {

std::string JsonText(std::string_view text)
{
    std::string quoted = "\"";
    for (const char c : Fill("{text}", {{"text", std::string(text)}})) { // nothing but UTF-8
        if (c == '"' || c == '\\') {
            quoted += '\\';
        }
        quoted += c;
    }
    return quoted + '"';
}

std::string JsonBool(bool b)
{
    return b ? "true" : "false";
}

std::string JsonObject(const std::vector<JsonMember>& members)
{
    std::string object;
    for (const auto& [szName, strValue] : members) {
        object += (object.empty() ? "{\"" : ", \"") + std::string(szName) + "\": " + strValue;
    }
    return object + '}';
}

std::string JsonArray(const std::vector<std::string>& values)
{
    std::string array;
    for (const std::string& strValue : values) {
        array += (array.empty() ? "[\n  " : ",\n  ") + strValue;
    }
    return array.empty() ? "[]" : array + "\n]";
}

} // namespace desk
