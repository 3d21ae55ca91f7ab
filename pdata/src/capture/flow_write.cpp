#include "flow.h"

#include <arpa/inet.h>

#include "escape.h"

namespace
{

std::string quoted(std::string_view bytes)
{
    std::string out = "\"";
    for (const char &c : bytes) {
        const auto byte = static_cast<uint8_t>(c);
        if (byte < 0x20 || byte >= 0x7F) {
            out += "\\x" + escape_hex({&c, 1});
            continue;
        }
        if (c == '"' || c == '\\')
            out += '\\';
        out += c;
    }
    return out + '"';
}

std::string address_text(const flow_attr_t &value)
{
    char text[INET6_ADDRSTRLEN] = "";
    inet_ntop(value.kind == FLOW_IP4 ? AF_INET : AF_INET6, value.address.data(), text, sizeof text);
    return text;
}

} // namespace

std::string flow_write_value(const flow_attr_t &value)
{
    switch (value.kind) {
    case FLOW_BYTES:
        return quoted(value.bytes);
    case FLOW_NUMBER:
        return std::to_string(value.number);
    case FLOW_IP4:
    case FLOW_IP6:
        return address_text(value);
    default:
        return {};
    }
}

std::string flow_write(std::span<const flow_attr_t> values)
{
    std::string line;
    for (const flow_attr_t &value : values) {
        line += line.empty() ? "" : "; ";
        if (value.kind == FLOW_PROTOCOL) {
            line.append("has ").append(value.protocol);
            continue;
        }
        line += value.protocol;
        line += ':' + value.attribute + (value.way == FLOW_WAY_STC ? " stc " : " cts ");
        line += flow_write_value(value);
        line += value.incomplete ? "..." : "";
    }
    return line;
}
