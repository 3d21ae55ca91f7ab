#include "pdb_attr_properties.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace
{

// Short names, so that a row of the table fits a line.
constexpr auto STREAM = MATCHER_TYPE_STREAM;
constexpr auto NUM8 = MATCHER_TYPE_NUMBER_8;
constexpr auto NUM16 = MATCHER_TYPE_NUMBER_16;
constexpr auto IP4 = MATCHER_TYPE_IP_4;
constexpr auto IP6 = MATCHER_TYPE_IP_6;
constexpr auto NONE = MATCHER_TYPE_UNKNOWN;
constexpr auto CTS = ATTR_WAY_CTS;
constexpr auto STC = ATTR_WAY_STC;
constexpr auto BOTH = ATTR_WAY_BOTH;
constexpr auto NOWAY = ATTR_WAY_UNKNOWN;
constexpr auto CLASSIC = PATTERN_ALGO_CLASSIC;
constexpr auto OFFSET = PATTERN_ALGO_OFFSET_V1;
constexpr auto FREE = MINDATA_NOT_MANDATORY;
constexpr auto MUST = MINDATA_MANDATORY;
constexpr auto DEFAULT = EXACT_MATCH_DEFAULT;
constexpr auto PREFIX = EXACT_MATCH_PREFIX;
constexpr auto SUFFIX = EXACT_MATCH_SUFFIX;
constexpr auto ICASE = ALPHA_CONFIG_ICASE_ENABLE;
constexpr auto SORT = ALPHA_CONFIG_SORT_ENABLE;

// clang-format off
// Some stream rows name a transformer that is never run. Oddity O138.
constexpr pdb_attr_properties_t attr_properties[] = {
    // protocol  attribute                type    transformer          way    algo     mindata  exact    case   sort
    {"http",   "uri_decoded",           STREAM, nullptr,             CTS,   CLASSIC, FREE,    SUFFIX,  0,     0},
    {"http",   "post_variable_decoded", STREAM, nullptr,             CTS,   CLASSIC, FREE,    SUFFIX,  0,     0},
    {"http",   "uri_get_decoded",       STREAM, nullptr,             CTS,   CLASSIC, FREE,    SUFFIX,  0,     0},
    {"http",   "uri_post_decoded",      STREAM, nullptr,             CTS,   CLASSIC, FREE,    SUFFIX,  0,     0},
    {"http",   "uri_path_decoded",      STREAM, nullptr,             CTS,   CLASSIC, FREE,    SUFFIX,  0,     0},
    {"http",   "header_raw",            STREAM, nullptr,             BOTH,  CLASSIC, FREE,    PREFIX,  ICASE, SORT},
    {"http",   "content",               STREAM, nullptr,             BOTH,  CLASSIC, MUST,    SUFFIX,  0,     0},
    {"http",   "server",                STREAM, nullptr,             CTS,   CLASSIC, FREE,    SUFFIX,  ICASE, SORT},
    {"http",   "uri",                   STREAM, nullptr,             CTS,   CLASSIC, FREE,    SUFFIX,  ICASE, SORT},
    {"http",   "mime_type",             STREAM, nullptr,             BOTH,  CLASSIC, FREE,    SUFFIX,  ICASE, SORT},
    {"http",   "user_agent",            STREAM, nullptr,             CTS,   CLASSIC, FREE,    SUFFIX,  0,     0},
    {"http",   "referer",               STREAM, nullptr,             CTS,   CLASSIC, FREE,    SUFFIX,  ICASE, SORT},
    {"http",   "server_agent",          STREAM, nullptr,             STC,   CLASSIC, FREE,    SUFFIX,  0,     0},
    {"http",   "location",              STREAM, nullptr,             STC,   CLASSIC, FREE,    SUFFIX,  ICASE, SORT},
    {"http",   "cookie",                STREAM, nullptr,             CTS,   CLASSIC, FREE,    SUFFIX,  0,     0},
    {"quic",   "server_name",           STREAM, nullptr,             CTS,   CLASSIC, FREE,    SUFFIX,  ICASE, SORT},
    {"ssl",    "common_name",           STREAM, nullptr,             BOTH,  CLASSIC, FREE,    SUFFIX,  ICASE, SORT},
    {"dtls",   "common_name",           STREAM, nullptr,             BOTH,  CLASSIC, FREE,    SUFFIX,  ICASE, SORT},
    {"ssl",    "organization_name",     STREAM, nullptr,             BOTH,  CLASSIC, FREE,    SUFFIX,  0,     0},
    {"ssl",    "subject_alt_name",      STREAM, nullptr,             STC,   CLASSIC, FREE,    SUFFIX,  ICASE, SORT},
    {"rtmp",   "page_url",              STREAM, nullptr,             CTS,   CLASSIC, FREE,    SUFFIX,  ICASE, SORT},
    {"tcp",    "stream",                STREAM, nullptr,             BOTH,  OFFSET,  MUST,    PREFIX,  0,     0},
    {"udp",    "stream",                STREAM, nullptr,             BOTH,  OFFSET,  MUST,    PREFIX,  0,     0},
    {"tcp",    "pattern",               STREAM, nullptr,             BOTH,  OFFSET,  MUST,    PREFIX,  0,     0},
    {"udp",    "pattern",               STREAM, nullptr,             BOTH,  OFFSET,  MUST,    PREFIX,  0,     0},
    {"sip",    "user_agent",            STREAM, nullptr,             BOTH,  CLASSIC, FREE,    SUFFIX,  0,     0},
    {"sip",    "server_agent",          STREAM, nullptr,             BOTH,  CLASSIC, FREE,    SUFFIX,  0,     0},
    {"udp",    "port",                  NUM16,  transformer_range16, BOTH,  CLASSIC, FREE,    DEFAULT, 0,     0},
    {"tcp",    "port",                  NUM16,  transformer_range16, BOTH,  CLASSIC, FREE,    DEFAULT, 0,     0},
    {"udp",    "payload_len",           NUM16,  transformer_range16, BOTH,  CLASSIC, FREE,    DEFAULT, 0,     0},
    {"tcp",    "payload_len",           NUM16,  transformer_range16, BOTH,  CLASSIC, FREE,    DEFAULT, 0,     0},
    {"icmp",   "typeval",               NUM8,   transformer_8,       BOTH,  CLASSIC, FREE,    DEFAULT, 0,     0},
    {"icmp",   "code",                  NUM8,   transformer_8,       BOTH,  CLASSIC, FREE,    DEFAULT, 0,     0},
    {"icmp6",  "type",                  NUM8,   transformer_8,       BOTH,  CLASSIC, FREE,    DEFAULT, 0,     0},
    {"icmp6",  "code",                  NUM8,   transformer_8,       BOTH,  CLASSIC, FREE,    DEFAULT, 0,     0},
    {"ip",     "protoid",               NUM8,   transformer_8,       BOTH,  CLASSIC, FREE,    DEFAULT, 0,     0},
    {"ip6",    "protoid",               NUM8,   transformer_8,       BOTH,  CLASSIC, FREE,    DEFAULT, 0,     0},
    {"ip6",    "address",               IP6,    transformer_ipv6,    BOTH,  CLASSIC, FREE,    DEFAULT, 0,     0},
    {"ip",     "address",               IP4,    transformer_ipv4,    BOTH,  CLASSIC, FREE,    DEFAULT, 0,     0},
    {"ip",     "resolv_name",           STREAM, transformer_ipv4,    BOTH,  CLASSIC, FREE,    SUFFIX,  ICASE, SORT},
    {"ip",     "dscp",                  NUM8,   transformer_8,       BOTH,  CLASSIC, FREE,    DEFAULT, 0,     0},
    {"ip6",    "dscp",                  NUM8,   transformer_8,       BOTH,  CLASSIC, FREE,    DEFAULT, 0,     0},
    {"stun",   "realm",                 STREAM, transformer_8,       BOTH,  CLASSIC, FREE,    SUFFIX,  ICASE, SORT},
    {"stun",   "software",              STREAM, transformer_8,       BOTH,  CLASSIC, FREE,    SUFFIX,  ICASE, SORT},
    {"quic",   "user_agent",            STREAM, transformer_8,       CTS,   CLASSIC, FREE,    SUFFIX,  0,     0},
    {"dns",    "query",                 STREAM, transformer_8,       BOTH,  CLASSIC, FREE,    SUFFIX,  0,     0},
    {"sip",    "domain",                STREAM, transformer_8,       BOTH,  CLASSIC, FREE,    SUFFIX,  ICASE, SORT},
    {"rtsp",   "user_agent",            STREAM, transformer_8,       CTS,   CLASSIC, FREE,    SUFFIX,  0,     0},
    {"rtsp",   "server",                STREAM, transformer_8,       CTS,   CLASSIC, FREE,    SUFFIX,  ICASE, SORT},
    {"rtsp",   "server_agent",          STREAM, transformer_8,       STC,   CLASSIC, FREE,    SUFFIX,  0,     0},
    {nullptr,  nullptr,                 NONE,   nullptr,             NOWAY, CLASSIC, FREE,    DEFAULT, 0,     0},
};
// clang-format on

constexpr size_t nr_attr = std::size(attr_properties) - 1;
static_assert(std::all_of(attr_properties, attr_properties + nr_attr, [](const auto &row) {
    return row.proper_type != NONE && row.proper_allowed_way != NOWAY;
}));

/// Where a row is looked for first: a sum over the ends of both names, which are not empty, spreads
/// the rows well enough.
constexpr size_t NR_PLACE = 256;
constexpr size_t place_of(std::string_view proto, std::string_view attr)
{
    const auto byte = [](char c) { return static_cast<size_t>(static_cast<uint8_t>(c)); };
    return (attr.size() * 31 + byte(attr.front()) * 5 + byte(attr.back()) * 17 + proto.size() * 61 +
            byte(proto.front()) * 11 + byte(proto.back())) %
           NR_PLACE;
}

/// Rows by place, each at the first free one from its own on; free places hold the row behind all.
constexpr std::array<uint8_t, NR_PLACE> make_places()
{
    std::array<uint8_t, NR_PLACE> places{};
    places.fill(nr_attr);
    for (size_t i = 0; i < nr_attr; ++i) {
        size_t place = place_of(attr_properties[i].proper_proto, attr_properties[i].proper_attr);
        while (places[place] != nr_attr)
            place = (place + 1) % NR_PLACE;
        places[place] = static_cast<uint8_t>(i);
    }
    return places;
}

constexpr std::array<uint8_t, NR_PLACE> places = make_places();
static_assert(nr_attr < NR_PLACE / 2);

/// One property of a pair, or what an unknown pair has.
template <typename Property>
Property property_of(csa_str_t proto, csa_str_t attr, Property pdb_attr_properties_t::*property,
                     Property unknown)
{
    const pdb_attr_properties_t *row = pdb_get_attr_properties(proto, attr);
    return row == nullptr ? unknown : row->*property;
}

} // namespace

std::span<const pdb_attr_properties_t> pdb_attr_properties_table()
{
    return attr_properties;
}

const pdb_attr_properties_t *pdb_get_attr_properties(csa_str_t proto, csa_str_t attr)
{
    const std::string_view proto_name = csa_str_view(proto);
    const std::string_view attr_name = csa_str_view(attr);
    if (proto_name.empty() || attr_name.empty())
        return nullptr;
    for (size_t place = place_of(proto_name, attr_name); places[place] != nr_attr;
         place = (place + 1) % NR_PLACE) {
        const pdb_attr_properties_t &row = attr_properties[places[place]];
        if (row.proper_attr == attr_name && row.proper_proto == proto_name)
            return &row;
    }
    return nullptr;
}

matcher_type_t pdb_matcher_get_type(csa_str_t proto, csa_str_t attr)
{
    return property_of(proto, attr, &pdb_attr_properties_t::proper_type, MATCHER_TYPE_UNKNOWN);
}

csa_attr_way_t pdb_matcher_get_allowed_way(csa_str_t proto, csa_str_t attr)
{
    return property_of(proto, attr, &pdb_attr_properties_t::proper_allowed_way, ATTR_WAY_UNKNOWN);
}

transformer_fct pdb_matcher_get_transformer_fct(csa_str_t proto, csa_str_t attr)
{
    return property_of(proto, attr, &pdb_attr_properties_t::proper_ftrans, transformer_fct{});
}

algo_combination_t pdb_matcher_get_algo(csa_str_t proto, csa_str_t attr)
{
    return property_of(proto, attr, &pdb_attr_properties_t::proper_algo, PATTERN_ALGO_CLASSIC);
}

mindata_status_t pdb_matcher_get_mindata_status(csa_str_t proto, csa_str_t attr)
{
    return property_of(proto, attr, &pdb_attr_properties_t::mindata_status, MINDATA_NOT_MANDATORY);
}

exact_match_dispatch_t pdb_matcher_get_em_dispatch(csa_str_t proto, csa_str_t attr)
{
    return property_of(proto, attr, &pdb_attr_properties_t::em_dispatch, EXACT_MATCH_DEFAULT);
}

uint8_t pdb_matcher_get_icase(csa_str_t proto, csa_str_t attr)
{
    return property_of(proto, attr, &pdb_attr_properties_t::icase, uint8_t{0});
}

uint8_t pdb_matcher_get_sort(csa_str_t proto, csa_str_t attr)
{
    return property_of(proto, attr, &pdb_attr_properties_t::sort, uint8_t{0});
}
