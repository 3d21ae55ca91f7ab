/// The bytes of whole sections, worked out by hand.
#include "bytes.h"
#include "matcher_fixture.h"

namespace
{

TEST(section_bytes, the_rules_of_a_pdb_of_two)
{
    // The newest list is built first: the code is item 1. The newest value of a list comes first:
    // port 25 is item 2, port 80 item 3. "web" is chain 0 and rule 1, "mail" chain 4 and rule 2.
    EXPECT_EQ(root_record(compile(two_rules_model()).bytes, TLV_TYPE_ROOT_RULES),
              bytes("05 000038"
                    "01 000001  00000002"
                    "02 000012"
                    "00000000 FFFFFFFF FFFFFFFF FFFFFFFF"  // web
                    "00000006 0000000C FFFFFFFF FFFFFFFF"  // tcp, mail
                    "00000006 FFFFFFFF  00000012 00000006" // tcp; icmp, tcp
                    "00000006 FFFFFFFF  00000018 0000001E" // tcp; ip6, ip
                    "FFFFFFFF 00000064"
                    "05 000006"
                    "00000002 00000000 00000002  00000001 00000011  00000000"
                    "03 000011"
                    "01 000010"
                    "00000000 00000000 00000000 00000000"
                    "B0000002 0A000005 00000800 00010003" // of sub-rule 1: the second bit
                    "B0000002 0A000005 00000800 00000003"
                    "00000001 00FFF05F 00000000 00000001" // 16777215 - 4000
                    "04 000009"
                    "0003'w'e'b 00 0003't'c'p 00 0004'm'a'i'l"
                    "0004'i'c'm'p 0003'i'p'6 00 0002'i'p 0000"));
}

TEST(section_bytes, the_matchers_of_a_pdb_with_one_number)
{
    const pdb_model model = {
        {protocol_of(7, "ping",
                     {simple_rule("icmp", {number_attr("code", {"5"}, MATCHER_TYPE_NUMBER_8)})})},
        {}};
    std::vector<uint8_t> endpoints(512);
    endpoints[11] = 1;
    EXPECT_EQ(root_record(compile(model).bytes, TLV_TYPE_ROOT_MATCHERS),
              chain({bytes("04 00009B"
                           "01 000096"
                           "01 000095"
                           "01 000003  00000000 00000006 00000001"
                           "02 000090"
                           "01 000002  00000003 00000000"
                           "02 00008C"
                           "0000000F 00000004 00000003"
                           "00000010 0000021C"
                           "0000000D 00000200"),
                     endpoints,
                     bytes("0000000E 0000000C  00000000 00000001 00000001"
                           "02 000003"
                           "0004'i'c'm'p 0004'c'o'd'e")}));
}

TEST(section_bytes, the_sections_of_a_pdb_without_values)
{
    const std::vector<uint8_t> pdb = compile(pdb_model{{protocol_of(7, "ping", {})}, {}}).bytes;
    EXPECT_EQ(root_record(pdb, TLV_TYPE_ROOT_MATCHERS), bytes("04 000002  01 000000  02 000000"));
    EXPECT_EQ(root_record(pdb, TLV_TYPE_ROOT_RULES), bytes("05 000008"
                                                           "01 000001  00000000"
                                                           "02 000000"
                                                           "05 000001  00000000"
                                                           "03 000001  01 000000"
                                                           "04 000000"));
}

TEST(section_bytes, the_string_table_of_the_matchers_takes_the_protocol_and_then_the_attribute)
{
    const rule_model rule =
        simple_rule("tcp", {number_attr("port", {"1"}), number_attr("payload_len", {"2"})});
    const std::vector<uint8_t> pdb = compile(pdb_model{{protocol_of(7, "p", {rule})}, {}}).bytes;
    const std::vector<uint8_t> section = root_record(pdb, TLV_TYPE_ROOT_MATCHERS);
    const std::vector<uint8_t> strings = bytes("02 000007"
                                               "0003't'c'p 00 000B'p'a'y'l'o'a'd'_'l'e'n 00"
                                               "0004'p'o'r't 0000");
    ASSERT_GT(section.size(), strings.size());
    EXPECT_EQ(
        std::vector<uint8_t>(section.end() - static_cast<ptrdiff_t>(strings.size()), section.end()),
        strings);
}

} // namespace
