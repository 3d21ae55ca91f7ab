// Descriptions that become a pdb in one step, and what ends it. That the bytes are the compiler's
// is for others.
#include "pdata_build.h"

#include "failing_alloc.h"
#include "serialize_fixture.h"

namespace
{

class description_build : public serialize_fixture
{
protected:
    static pdd_t pdd_of(const std::string &name, const std::string &id, const char *port = "80")
    {
        const std::string text = R"({"p": [{"name": ")" + name + R"(", "id": )" + id +
                                 R"(, "rules": [{"order": "1:1", "rule":
                                 [{"protocol": "tcp", "port": ")" +
                                 port + R"("}]}]}]})";
        pdd_t pdd;
        pdd.pdd_json.assign(text.begin(), text.end());
        return pdd;
    }

    /// Builds; gives the step and the outcome of a failure, "" for none.
    std::string build(std::span<const pdd_t> descriptions)
    {
        built = {};
        const std::string came_to = outcome(pdata_build(descriptions, cfg, true, built));
        return came_to == "0" ? "" : std::string(built.step) + ": " + came_to;
    }

    pdata_built_t built;
};

TEST_F(description_build, needs_a_tag_table_to_become_loadable)
{
    const std::vector<pdd_t> one = {pdd_of("a", "16777217")};
    const std::vector<pdd_t> two = {pdd_of("a", "16777217"), pdd_of("b", "16777218")};
    const std::string refused = "make loadable: " OUTCOME_INVALID_ARGUMENT
                                ": PDM (tags) is mandatory when you try to compile graph/rules";
    EXPECT_EQ(build(one), refused);
    EXPECT_EQ(build(two), refused) << "no input has tags to be taken over";
    configure_tags(R"({"tag_table": {"video": 1}})");
    EXPECT_EQ(build(one), "");
    EXPECT_EQ(build(two), "");
    EXPECT_EQ(built.nr_input, 2U);
}

TEST_F(description_build, says_which_description_is_at_fault)
{
    configure_tags(R"({"tag_table": {"video": 1}})");
    const pdd_t good = pdd_of("a", "16777217");
    const pdd_t bad = pdd_of("b", "16777218", "80000");
    EXPECT_EQ(build(std::vector<pdd_t>{bad}).substr(0, 13), "make loadable");
    const pdd_t cut = {{'{'}};
    EXPECT_EQ(build(std::vector<pdd_t>{cut}).substr(0, 8), "compile:");
    EXPECT_EQ(build(std::vector<pdd_t>{good, good, cut}).substr(0, 8), "compile:");
    EXPECT_EQ(built.nr_input, 2U);
    const pdd_t refused = pdd_of("b", "7"); // which is in no namespace that merges add to
    EXPECT_EQ(build(std::vector<pdd_t>{good, refused}).substr(0, 6), "merge:");
    EXPECT_EQ(built.nr_input, 1U);
}

TEST_F(description_build, is_a_status_without_memory)
{
    configure_tags(R"({"tag_table": {"video": 1}})");
    const std::vector<pdd_t> two = {pdd_of("a", "16777217"), pdd_of("b", "16777218")};
    std::set<std::string> steps;
    (void)stderr_of([&] {
        failing_alloc_sweep(
            [&] {
                built = {};
                return static_cast<int>(pdata_build(two, cfg, true, built));
            },
            [&](int code) {
                if (code != PDATA_SUCCESS)
                    steps.insert(built.step);
            });
    });
    EXPECT_EQ(steps, (std::set<std::string>{"compile", "merge", "make loadable"}));
    EXPECT_EQ(build(two), "") << "and the next one is as ever";
}

} // namespace
