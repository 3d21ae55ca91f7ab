// What aliases make of a protocol under construction.
#include <gtest/gtest.h>

#include "matcher_alias_serialize.h"
#include "protodesc_fixture.h"

namespace
{

class matcher_alias_change : public protodesc_fixture
{
protected:
    /// Adds an attribute of slot `n_rule`, whose protocol is `bottom`.
    void attr(uint32_t n_rule, const char *bottom, const char *name, csa_attr_way_t way)
    {
        name_protocol("web", bottom, n_rule);
        protodesc_set_rule(&pb, n_rule, n_rule + 1, 1);
        protodesc_set_nr_sub_rule(&pb, n_rule + 1);
        uint32_t n_attr;
        EXPECT_EQ(
            outcome(protodesc_add_attr_name_parsed(&pb, csa_str(name), way, MATCHER_TYPE_STREAM,
                                                   ATTR_PROTO_UNKNOWN, n_rule, &n_attr)),
            "0");
    }

    /// Rewrites the protocol by a set of aliases.
    void change(std::span<const alias_pair_t> pairs)
    {
        matcher_alias_t aliases;
        ASSERT_EQ(outcome(matcher_alias_make_alias_keys(&aliases, pairs)), "0");
        matcher_alias_change_proto(&pb, aliases);
    }

    /// A slot, as "protocol/bottom name:way name:way".
    std::string shown(uint32_t n_rule = 0)
    {
        const ruledesc_build_t &slot = pb.pb_rules[n_rule];
        std::string out(csa_str_view(slot.rule_protocol));
        out += '/';
        out += csa_str_view(slot.rule_bottom_protocol);
        for (uint32_t i = 0; i < slot.rule_nr_attr; ++i) {
            out += ' ';
            out += csa_str_view(slot.rule_attr[i].attr_name);
            out += ':';
            out += std::to_string(slot.rule_attr[i].attr_way);
        }
        return out;
    }

    /// The minimum data of a slot, as "cts 1 stc 2".
    std::string mindata(uint32_t n_rule = 0)
    {
        std::string out = "cts ";
        out += std::to_string(pb.pb_rules[n_rule].rule_cts_mindata);
        out += " stc ";
        return out += std::to_string(pb.pb_rules[n_rule].rule_stc_mindata);
    }
};

alias_elt_t elt(const char *protocol, const char *attr, csa_attr_way_t way)
{
    return {csa_str(protocol), csa_str(attr), way};
}

TEST_F(matcher_alias_change, an_aliased_attribute_becomes_its_reference)
{
    const alias_pair_t pairs[] = {
        {elt("http", "host", ATTR_WAY_CTS), elt("quic", "sni", ATTR_WAY_BOTH)}};
    attr(0, "http", "host", ATTR_WAY_CTS);
    attr(1, "http", "uri", ATTR_WAY_CTS);
    attr(2, "ssl", "host", ATTR_WAY_CTS);
    change(pairs);
    EXPECT_EQ(shown(0), "quic/http sni:3") << "the bottom protocol stays as it was written";
    EXPECT_EQ(shown(1), "http/http uri:1");
    EXPECT_EQ(shown(2), "ssl/ssl host:1");
    EXPECT_EQ(pb.pb_rules[0].rule_attr[0].attr_type, MATCHER_TYPE_STREAM);
}

TEST_F(matcher_alias_change, name_and_direction_must_both_be_those_of_the_alias)
{
    const alias_pair_t pairs[] = {
        {elt("http", "host", ATTR_WAY_CTS), elt("quic", "sni", ATTR_WAY_CTS)}};
    attr(0, "http", "host", ATTR_WAY_STC);
    attr(1, "http", "host", ATTR_WAY_BOTH);
    attr(2, "http", "hosts", ATTR_WAY_CTS);
    attr(3, "http2", "host", ATTR_WAY_CTS);
    change(pairs);
    EXPECT_EQ(shown(0), "http/http host:2");
    EXPECT_EQ(shown(1), "http/http host:3");
    EXPECT_EQ(shown(2), "http/http hosts:1");
    EXPECT_EQ(shown(3), "http2/http2 host:1");
}

TEST_F(matcher_alias_change, what_is_compared_is_the_protocol_whose_attributes_are_tested)
{
    const alias_pair_t pairs[] = {
        {elt("http", "host", ATTR_WAY_CTS), elt("quic", "sni", ATTR_WAY_CTS)},
        {elt("ip", "host", ATTR_WAY_CTS), elt("ip6", "name", ATTR_WAY_CTS)}};
    attr(0, "http", "host", ATTR_WAY_CTS);
    protodesc_set_rule_real_bottom(&pb, 0, csa_str("ip"));
    change(pairs);
    EXPECT_EQ(shown(0), "quic/ip sni:1");
}

TEST_F(matcher_alias_change, the_first_alias_that_fits_is_taken)
{
    const alias_pair_t pairs[] = {
        {elt("http", "host", ATTR_WAY_CTS), elt("quic", "one", ATTR_WAY_CTS)},
        {elt("http", "host", ATTR_WAY_CTS), elt("quic", "two", ATTR_WAY_CTS)}};
    attr(0, "http", "host", ATTR_WAY_CTS);
    change(pairs);
    EXPECT_EQ(shown(0), "quic/http one:1");
}

TEST_F(matcher_alias_change, the_aliases_of_a_sub_rule_are_those_of_its_protocol_as_written)
{
    const alias_pair_t pairs[] = {{elt("http", "a", ATTR_WAY_CTS), elt("quic", "x", ATTR_WAY_CTS)},
                                  {elt("quic", "b", ATTR_WAY_CTS), elt("ssl", "y", ATTR_WAY_CTS)},
                                  {elt("http", "c", ATTR_WAY_CTS), elt("rtsp", "z", ATTR_WAY_STC)},
                                  {elt("quic", "x", ATTR_WAY_CTS), elt("ssl", "w", ATTR_WAY_CTS)}};
    attr(0, "http", "a", ATTR_WAY_CTS);
    attr(0, "http", "b", ATTR_WAY_CTS);
    attr(0, "http", "c", ATTR_WAY_CTS);
    change(pairs);
    EXPECT_EQ(shown(0), "rtsp/http x:1 b:1 z:2")
        << "the protocol is that of the last attribute that was rewritten";
}

TEST_F(matcher_alias_change, without_aliases_nothing_changes)
{
    attr(0, "http", "host", ATTR_WAY_CTS);
    change({});
    EXPECT_EQ(shown(0), "http/http host:1");
}

TEST_F(matcher_alias_change, a_stream_that_changes_its_direction_takes_its_minimum_data_along)
{
    const alias_pair_t pairs[] = {
        {elt("tcp", "stream", ATTR_WAY_CTS), elt("http", "content", ATTR_WAY_STC)},
        {elt("udp", "stream", ATTR_WAY_STC), elt("http", "content", ATTR_WAY_CTS)},
        {elt("sip", "stream", ATTR_WAY_CTS), elt("http", "content", ATTR_WAY_CTS)},
        {elt("rtsp", "stream", ATTR_WAY_CTS), elt("http", "uri", ATTR_WAY_STC)}};
    attr(0, "tcp", "stream", ATTR_WAY_CTS);
    attr(1, "udp", "stream", ATTR_WAY_STC);
    attr(2, "sip", "stream", ATTR_WAY_CTS);
    attr(3, "rtsp", "stream", ATTR_WAY_CTS);
    for (uint32_t n_rule = 0; n_rule < 4; ++n_rule) {
        protodesc_set_cts_mindata(&pb, n_rule, 10);
        protodesc_set_stc_mindata(&pb, n_rule, 4);
    }
    change(pairs);
    EXPECT_EQ(mindata(0), "cts 0 stc 10");
    EXPECT_EQ(mindata(1), "cts 10 stc 0") << "the larger of the two";
    EXPECT_EQ(mindata(2), "cts 10 stc 4") << "the direction stays";
    EXPECT_EQ(mindata(3), "cts 10 stc 4") << "uri has no minimum data";
}

struct mindata_row {
    const char *before;
    const char *after;
    csa_attr_way_t way_before;
    csa_attr_way_t way_after;
    uint32_t stc;
    uint32_t cts;
};

TEST_F(matcher_alias_change, minimum_data_moves_only_between_the_single_directions)
{
    const mindata_row rows[] = {
        // From 5 bytes server to client and 9 bytes client to server.
        {"stream", "stream", ATTR_WAY_CTS, ATTR_WAY_STC, 9, 0},
        {"content", "stream", ATTR_WAY_CTS, ATTR_WAY_STC, 9, 0},
        {"stream", "content", ATTR_WAY_STC, ATTR_WAY_CTS, 0, 9},
        {"content", "content", ATTR_WAY_STC, ATTR_WAY_CTS, 0, 9},
        {"stream", "stream", ATTR_WAY_CTS, ATTR_WAY_CTS, 5, 9},
        {"stream", "stream", ATTR_WAY_BOTH, ATTR_WAY_CTS, 5, 9},
        {"stream", "stream", ATTR_WAY_STC, ATTR_WAY_BOTH, 5, 9},
        {"stream", "stream", ATTR_WAY_UNKNOWN, ATTR_WAY_STC, 5, 9},
        {"pattern", "stream", ATTR_WAY_CTS, ATTR_WAY_STC, 5, 9},
        {"stream", "pattern", ATTR_WAY_CTS, ATTR_WAY_STC, 5, 9},
        {"streams", "stream", ATTR_WAY_CTS, ATTR_WAY_STC, 5, 9},
        {"", "", ATTR_WAY_CTS, ATTR_WAY_STC, 5, 9},
    };
    for (const mindata_row &row : rows) {
        uint32_t stc = 5;
        uint32_t cts = 9;
        matcher_alias_update_mindata(csa_str(row.before), csa_str(row.after), row.way_before,
                                     row.way_after, &stc, &cts);
        EXPECT_EQ(stc, row.stc) << row.before << " " << row.after;
        EXPECT_EQ(cts, row.cts) << row.before << " " << row.after;
    }
}

} // namespace
