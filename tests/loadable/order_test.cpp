/// Random pdbs against the build told once more in the simplest way.
#include <random>

#include "loadable_fixture.h"
#include "naive_build.h"
#include "pdb_attr_properties.h"
#include "rounds.h"

namespace
{

/// A source of random choices.
struct dice_t {
    std::mt19937 random;

    explicit dice_t(uint32_t seed) : random(seed) {}
    uint32_t word() { return static_cast<uint32_t>(random()); }
    uint32_t below(uint32_t n) { return word() % n; }
    bool one_in(uint32_t n) { return below(n) == 0; }
};

std::string random_number(dice_t &dice, matcher_type_t type)
{
    switch (type) {
    case MATCHER_TYPE_NUMBER_8:
        return std::to_string(dice.below(256));
    case MATCHER_TYPE_NUMBER_16:
        return std::to_string(dice.below(65536));
    case MATCHER_TYPE_IP_4:
        return "10.0." + std::to_string(dice.below(256)) + "." + std::to_string(dice.below(256));
    default:
        return "2001:db8::" + std::to_string(1 + dice.below(9999));
    }
}

std::string random_text(dice_t &dice, bool suffixes)
{
    // The last four end with a piece that must stand at the end, which not every engine takes.
    static const char *const shapes[] = {"word%",   ".*word%.*", "word%.*", "(a|b)%x", "a%.b%.*",
                                         "..*",     "[a-d]%",    "x%?y%z",  "ab,c%",   ",a%,",
                                         ".*%word", "\\d%\\d*a", "a%.*b%",  "a%.b%"};
    constexpr auto nr_shape = static_cast<uint32_t>(std::size(shapes));
    std::string text = shapes[dice.below(suffixes ? nr_shape : nr_shape - 4)];
    for (size_t at = 0; (at = text.find('%', at)) != text.npos;)
        text.replace(at, 1, std::to_string(dice.below(50)));
    return text;
}

std::string random_value(dice_t &dice, const pdb_attr_properties_t &row)
{
    if (row.proper_type == MATCHER_TYPE_STREAM)
        return random_text(dice, row.proper_algo == PATTERN_ALGO_CLASSIC);
    std::string text = random_number(dice, row.proper_type);
    for (uint32_t more = dice.below(3); more > 0; --more) {
        text += dice.one_in(4) ? ",," : ",";
        text += random_number(dice, row.proper_type);
    }
    return text;
}

attr_model random_attr(dice_t &dice, const pdb_attr_properties_t &row)
{
    attr_model attr = stream_attr(row.proper_attr, {});
    attr.type = row.proper_type;
    attr.way = row.proper_allowed_way != ATTR_WAY_BOTH
                   ? row.proper_allowed_way
                   : static_cast<csa_attr_way_t>(1 + dice.below(3));
    for (uint32_t n = 1 + dice.below(2); n > 0; --n)
        attr.values.emplace_back(random_value(dice, row), 0);
    return attr;
}

/// A sub-rule over one of the protocols that have attributes.
sub_rule_model random_sub_rule(dice_t &dice)
{
    const auto rows = pdb_attr_properties_table();
    const auto nr_row = static_cast<uint32_t>(rows.size() - 1);
    const std::string bottom = rows[dice.below(nr_row)].proper_proto;
    sub_rule_model sub_rule = sub_rule_of(bottom, {});
    sub_rule.bottom_protocol = dice.one_in(3) ? "real_" + bottom : bottom;
    sub_rule.cts_mindata = dice.one_in(2) ? 65536 : 30 + dice.below(100);
    sub_rule.stc_mindata = 30 + dice.below(100);
    for (uint32_t n = dice.below(3); n > 0; --n) {
        const pdb_attr_properties_t &row = rows[dice.below(nr_row)];
        if (row.proper_proto == bottom)
            sub_rule.attrs.push_back(random_attr(dice, row));
    }
    return sub_rule;
}

rule_model random_rule(dice_t &dice, const std::string &name)
{
    rule_model rule = rule_of({random_sub_rule(dice)}, dice.one_in(2) ? 0 : dice.word());
    if (dice.one_in(3))
        rule.sub_rules.push_back(random_sub_rule(dice));
    rule.params = dice.below(10);
    rule.scope = dice.below(0x2000);
    rule.fastpass = dice.below(2);
    rule.vid = dice.one_in(10) ? dice.below(4096) : VID_NONE;
    if (dice.one_in(3))
        rule.path = {"base", name};
    for (uint32_t n = dice.below(3); n > 0; --n)
        rule.tags.push_back(dice.one_in(2) ? "video" : "audio");
    return rule;
}

pdb_model random_model(uint32_t seed)
{
    dice_t dice(seed);
    pdb_model model = {{}, {{"audio", dice.word()}, {"video", dice.word()}}};
    const uint32_t nr_protocol = dice.one_in(8) ? 400 : 1 + dice.below(20);
    for (uint32_t i = 0; i < nr_protocol; ++i) {
        const std::string name = "proto" + std::to_string(dice.below(1000));
        std::vector<rule_model> rules;
        for (uint32_t n = dice.below(9); n > 0; --n)
            rules.push_back(random_rule(dice, name));
        model.protocols.push_back(protocol_of(i + 1, name, rules));
    }
    return model;
}

TEST(build_order, random_pdbs_are_built_as_the_simplest_build_builds_them)
{
    uint32_t nr_rule = 0;
    for (uint32_t seed = 1; seed <= 60; seed += ROUNDS_STEP) { // later ones are larger
        const pdb_model model = random_model(seed);
        const loaded_t loaded(model);
        std::map<std::string, uint32_t> tags(model.tags.begin(), model.tags.end());
        ASSERT_EQ(naive_compare(loaded.pdb, model.protocols, tags), "") << "seed " << seed;
        nr_rule += static_cast<uint32_t>(loaded.pdb.rules.size());
    }
    EXPECT_GT(nr_rule, dear_rounds(2000));
}

} // namespace
