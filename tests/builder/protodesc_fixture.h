/// A protocol record with its two string tables, as the tests of records want it.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "outcome.h"
#include "protodesc.h"

class protodesc_fixture : public testing::Test
{
protected:
    protodesc_fixture()
    {
        clear_status_slot();
        protodesc_bounds_t bounds;
        protodesc_populate_bounds(&bounds);
        EXPECT_EQ(hstring_init(&strings, 0), 0);
        EXPECT_EQ(hstring_init(&tag_strings, 0), 0);
        EXPECT_TRUE(protodesc_init(&pb, bounds, &strings, &tag_strings));
        protodesc_reset(&pb);
    }

    /// Names the protocol and gives slot `n_rule` its protocol.
    void name_protocol(const char *name, const char *bottom, uint32_t n_rule = 0)
    {
        protodesc_set_name(&pb, csa_str(name));
        protodesc_set_rule_bottom(&pb, n_rule, csa_str(bottom));
        protodesc_set_rule_real_bottom(&pb, n_rule, csa_str(bottom));
    }

    hstring_build_t strings;
    hstring_build_t tag_strings;
    protodesc_build_t pb;
};

/// The strings that entered a table, in the order of their offsets.
inline std::vector<std::string> strings_of(const hstring_build_t &table)
{
    std::vector<std::string> out;
    for (const hs_elt &elt : table.hb_tab)
        out.emplace_back(elt.hse_str, elt.hse_len);
    return out;
}
