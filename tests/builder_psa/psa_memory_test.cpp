/// Memory that runs out while the pattern tables are generated: a status, and a message where the
/// step that failed has one.
#include <set>

#include "failing_alloc.h"
#include "psa_fixture.h"

namespace
{

TEST(psa_memory, an_allocation_that_fails_is_a_status)
{
    const pdata_cfg_t cfg =
        cfg_of({{"http2", R"({"prefix": [{"GET": "GET "}], "regular": [{"CURL": "curl"}]})"},
                {"http", R"({"suffix": [{"ORG": ".org"}, {"COM": ".com"}]})"}});
    std::set<std::string> outcomes;
    psa_texts texts;
    const auto run = [&] {
        texts = {};
        return static_cast<int>(pdata_serialize_psa(&cfg, &texts.key, &texts.src, &texts.hdr));
    };
    failing_alloc_sweep(run, [&](int status) {
        outcomes.insert(outcome(static_cast<pdata_status_t>(status)));
        pragmar_err_clear();
    });
    const auto pool = [](const std::string &name) {
        return OUTCOME_JSON_BAD_SYNTAX ": pool failure.\nPool '" + name +
               "' is empty. Increase value in configuration (json_config.h).\n";
    };
    // A tree that cannot even be begun has no report.
    const std::set<std::string> possible = {
        OUTCOME_NO_MEMORY, OUTCOME_NO_MEMORY ": PSA : unable to allocate buffer.\n",
        OUTCOME_JSON_BAD_SYNTAX ": ", pool("objects"), pool("arrays")};
    for (const std::string &text : outcomes)
        EXPECT_EQ(possible.count(text), 1U) << text;
    EXPECT_EQ(outcomes.count(OUTCOME_NO_MEMORY), 1U);
    EXPECT_EQ(outcomes.count(OUTCOME_NO_MEMORY ": PSA : unable to allocate buffer.\n"), 1U);
    EXPECT_EQ(outcomes.count(pool("objects")), 1U);
    EXPECT_EQ(texts.key.text, generate(cfg).key.text) << "the last run, in which nothing failed";
}

} // namespace
