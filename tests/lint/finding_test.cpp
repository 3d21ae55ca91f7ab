#include "finding_policy.h"

#include <gtest/gtest.h>

#include <set>

namespace
{

TEST(Finding, EveryIdIsFoundByItsName)
{
    for (unsigned id = 0; id < FINDING_NR; ++id)
        EXPECT_EQ(finding_find(finding_kinds[id].id), id);
    EXPECT_EQ(finding_find("no-such-id"), FINDING_NR);
    EXPECT_EQ(finding_find(""), FINDING_NR);
}

TEST(Finding, LevelsAreChangedByName)
{
    const auto change = [](std::string_view text) {
        finding_policy_t policy = finding_policy();
        const std::string wrong = finding_policy_change(policy, text);
        return wrong.empty() ? std::string(finding_level_name(policy.levels[FINDING_DEAD_VALUE]))
                             : wrong;
    };
    for (const char *level : {"error", "warning", "note", "off"})
        EXPECT_EQ(change(std::string("dead-value=") + level), level);
    const char *how = "write dead-value=error, warning, note or off";
    for (const char *text : {"dead-value", "dead-value=", "dead-value=loud", "dead-value=errors"})
        EXPECT_EQ(change(text), how) << text;
    EXPECT_EQ(change("dead-valu=error"), "there is no id dead-valu");
    EXPECT_EQ(change(""), "there is no id ");
    EXPECT_EQ(change("case-on-sensitive=note"), "error") << "another id stays as it was";
}

TEST(Finding, FingerprintHasNoPlace)
{
    finding_t finding;
    finding.id = FINDING_ZERO_PREFIX;
    finding.protocol = "chat";
    finding.rule = 2;
    finding.value = "0.0.0.0/0";
    const std::string before = finding_fingerprint(finding);
    EXPECT_EQ(before.size(), 16U);
    finding.place = {1, 20, 30};
    finding.message = "other words";
    EXPECT_EQ(finding_fingerprint(finding), before);
}

TEST(Finding, FingerprintTellsItsPartsApart)
{
    std::set<std::string> seen;
    finding_t finding;
    finding.id = FINDING_ZERO_PREFIX;
    EXPECT_TRUE(seen.insert(finding_fingerprint(finding)).second);
    finding.protocol = "ab";
    EXPECT_TRUE(seen.insert(finding_fingerprint(finding)).second);
    finding.protocol = "a";
    finding.attribute = "b";
    EXPECT_TRUE(seen.insert(finding_fingerprint(finding)).second);
    finding.value = "b";
    finding.attribute = "";
    EXPECT_TRUE(seen.insert(finding_fingerprint(finding)).second);
    finding.rule = 1;
    EXPECT_TRUE(seen.insert(finding_fingerprint(finding)).second);
    finding.id = FINDING_BLANK_AT_END;
    EXPECT_TRUE(seen.insert(finding_fingerprint(finding)).second);
}

} // namespace
