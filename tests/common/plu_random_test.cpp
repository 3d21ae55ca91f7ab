#include <gtest/gtest.h>

#include <set>

#include "captured.h"
#include "plu_random.h"
#include "plu_record.h"
#include "plu_reference.h"
#include "rounds.h"

namespace
{

/// The protocols as a commit writes them, in the order of the base.
std::vector<protocol_model> rewritten(const std::vector<protocol_model> &protocols)
{
    std::vector<protocol_model> out = merged(protocols, {});
    std::reverse(out.begin(), out.end());
    return out;
}

std::vector<protocol_model> sorted(std::vector<protocol_model> protocols)
{
    std::sort(protocols.begin(), protocols.end(),
              [](const protocol_model &a, const protocol_model &b) { return a.id < b.id; });
    return protocols;
}

TEST(plu_random, a_merge_is_what_the_reference_says)
{
    for (uint32_t seed = 0; seed < dear_rounds(1500); ++seed) {
        SCOPED_TRACE(seed);
        random_protocols make(seed);
        const std::vector<protocol_model> base = make.any(1 + make.below(4));
        const std::vector<protocol_model> incoming = make.any(make.below(5));
        const auto expected = reference_merge(base, incoming);
        ASSERT_TRUE(expected.has_value());
        ASSERT_EQ(merged(base, incoming), *expected);
    }
}

TEST(plu_random, repeated_ids_are_what_the_reference_says)
{
    for (uint32_t seed = 0; seed < dear_rounds(600); ++seed) {
        SCOPED_TRACE(seed);
        random_protocols make(seed, {seed % 2 == 0, seed % 5, 1 + seed % 4});
        const auto repeated = [&](uint32_t nr) {
            std::vector<protocol_model> out;
            while (out.size() < nr)
                out.push_back(out.empty() || make.once_in(2)
                                  ? make.protocol(USER)
                                  : out[make.below(static_cast<uint32_t>(out.size()))]);
            return out;
        };
        const std::vector<protocol_model> base = repeated(1 + make.below(5));
        const std::vector<protocol_model> incoming = repeated(make.below(12));
        const auto expected = reference_merge(base, incoming);
        ASSERT_TRUE(expected.has_value());
        ASSERT_EQ(merged(base, incoming), *expected);
    }
}

/// A protocol whose rules differ in the names and values of their attributes only.
protocol_model rules_of_one_shape(random_protocols &make, uint32_t nr_rules, uint32_t nr_attrs)
{
    protocol_model out = make.protocol(USER);
    for (uint32_t i = 0; i < nr_rules; ++i) {
        sub_rule_model sub_rule = make_sub_rule("http", {});
        while (sub_rule.attrs.size() < nr_attrs)
            sub_rule.attrs.push_back(make.attr());
        if (nr_attrs == 3 && sub_rule.attrs[2].values.size() == 3)
            sub_rule.attrs[2].values.pop_back();
        out.rules.push_back(make_rule({sub_rule}));
        if (make.once_in(8))
            out.rules.back().sub_rules.push_back(sub_rule);
    }
    return out;
}

TEST(plu_random, many_rules_that_are_partly_equal_are_what_the_reference_says)
{
    for (uint32_t seed = 0; seed < dear_rounds(600); ++seed) {
        SCOPED_TRACE(seed);
        random_protocols make(seed, {seed % 2 == 0, 0, 1 + seed % 7});
        const uint32_t nr_attrs = 1 + seed % 3;
        std::vector<protocol_model> base;
        for (uint32_t nr = 1 + make.below(3); nr > 0; --nr)
            base.push_back(rules_of_one_shape(make, make.below(4), 1 + make.below(nr_attrs)));
        std::vector<protocol_model> incoming;
        for (uint32_t nr = 20 + make.below(40); nr > 0; --nr)
            incoming.push_back(rules_of_one_shape(make, 1 + make.below(2), nr_attrs));
        const auto expected = reference_merge(base, incoming);
        ASSERT_TRUE(expected.has_value());
        ASSERT_EQ(merged(base, incoming), *expected);
    }
}

TEST(plu_random, the_index_finds_what_a_walk_finds)
{
    for (uint32_t seed = 0; seed < dear_rounds(400); ++seed) {
        SCOPED_TRACE(seed);
        random_protocols make(seed, {seed % 2 == 0, 12, 2 + seed % 5});
        record_run run;
        reference_record reference;
        for (int round = 0; round < 3; ++round) {
            run.reset();
            reference.slots.clear();
            for (int update = 0; update < 4; ++update) {
                const protocol_model protocol = make.protocol(USER);
                ASSERT_EQ(update == 0 ? run.copy(protocol) : run.update(protocol), "0");
                reference.copy(protocol, update != 0);
                for (int i = 0; i < 10; ++i) {
                    const rule_model rule = make.rule("p0");
                    ASSERT_EQ(run.has(rule),
                              reference.has(reference_record::as_read(rule)) ? "yes" : "no");
                }
            }
            ASSERT_EQ(run.pb.pb_nr_sub_rule, reference.slots.size());
        }
    }
}

TEST(plu_random, a_pdb_merged_with_itself_has_no_more_rules)
{
    for (uint32_t seed = 0; seed < dear_rounds(200); ++seed) {
        SCOPED_TRACE(seed);
        random_protocols make(seed, {false, 8, 4});
        const std::vector<protocol_model> pdb = rewritten(make.different(5, USER));
        std::vector<protocol_model> twice = merged(pdb, pdb);
        std::reverse(twice.begin(), twice.end());
        ASSERT_EQ(twice, pdb);
    }
}

TEST(plu_random, a_merge_of_different_protocols_holds_all_of_both)
{
    for (uint32_t seed = 0; seed < dear_rounds(200); ++seed) {
        SCOPED_TRACE(seed);
        random_protocols make(seed, {false, 8, 4});
        const std::vector<protocol_model> a = make.different(4, USER);
        const std::vector<protocol_model> b = make.different(4, USER + 1);
        std::vector<protocol_model> both = rewritten(a);
        const std::vector<protocol_model> other = rewritten(b);
        both.insert(both.end(), other.begin(), other.end());
        ASSERT_EQ(sorted(merged(a, b)), sorted(both));
    }
}

TEST(plu_random, a_merge_holds_every_rule_of_both_once)
{
    for (uint32_t seed = 0; seed < dear_rounds(200); ++seed) {
        SCOPED_TRACE(seed);
        random_protocols make(seed, {false, 8, 4});
        // Each rule has an order of its own: it equals no rule but itself.
        uint32_t order = 0;
        std::vector<protocol_model> a = make.different(5, USER);
        for (protocol_model &protocol : a)
            for (rule_model &rule : protocol.rules)
                rule.order = ++order;
        a = rewritten(a);
        std::vector<protocol_model> b = a;
        std::vector<protocol_model> expected = a;
        for (size_t i = 0; i < b.size(); ++i) {
            for (rule_model &rule : b[i].rules) {
                if (make.once_in(2))
                    continue;
                rule.order = ++order;
                expected[i].rules.push_back(rule);
            }
            std::shuffle(b[i].rules.begin(), b[i].rules.end(), make.random);
        }
        std::vector<protocol_model> out = merged(a, b);
        const auto by_order = [](const rule_model &x, const rule_model &y) {
            return x.order < y.order;
        };
        for (std::vector<protocol_model> *list : {&out, &expected})
            for (protocol_model &protocol : *list)
                std::sort(protocol.rules.begin(), protocol.rules.end(), by_order);
        ASSERT_EQ(sorted(out), sorted(expected));
    }
}

TEST(plu_random, a_removal_leaves_every_other_protocol_as_it_was)
{
    for (uint32_t seed = 0; seed < dear_rounds(200); ++seed) {
        SCOPED_TRACE(seed);
        random_protocols make(seed, {false, 8, 4});
        std::vector<protocol_model> pdb = rewritten(make.different(6, USER));
        protocol_model &victim = pdb[make.below(6)];
        update_run run;
        ASSERT_EQ(run.open(pdb), "0");
        ASSERT_EQ(run.remove(victim.id), "0");
        ASSERT_EQ(run.apply(), "0");
        victim.rules.clear();
        ASSERT_EQ(sorted(run.result()), sorted(pdb));
    }
}

TEST(plu_random, the_same_inputs_give_the_same_bytes)
{
    for (uint32_t seed = 0; seed < dear_rounds(50); ++seed) {
        SCOPED_TRACE(seed);
        random_protocols make(seed);
        const std::vector<protocol_model> base = make.any(3);
        const std::vector<protocol_model> incoming = make.any(3);
        std::vector<uint8_t> out[2];
        for (std::vector<uint8_t> &one : out) {
            update_run run;
            ASSERT_EQ(run.open(base), "0");
            ASSERT_EQ(run.merge(incoming), "0");
            ASSERT_EQ(run.apply(), "0");
            one = run.bytes_out();
        }
        ASSERT_EQ(out[0], out[1]);
    }
}

/// Parts of an update of which one is damaged.
struct damaged_run {
    std::vector<uint8_t> base;
    std::vector<uint8_t> incoming;
    std::vector<uint8_t> strings;
    std::vector<uint8_t> *victim = nullptr;

    explicit damaged_run(uint32_t seed)
    {
        random_protocols make(seed);
        update_run run;
        base = description_writer::descriptions(run.tags, make.any(2));
        incoming = description_writer::descriptions(run.tags, make.any(2));
        strings.assign(run.strings.begin(), run.strings.end());
    }

    /// A copy in memory of exactly its size, cut at `len`.
    static std::vector<uint8_t> exact(const std::vector<uint8_t> &part, size_t len = SIZE_MAX)
    {
        return {part.begin(), part.begin() + static_cast<long>(std::min(len, part.size()))};
    }

    /// Runs the whole update; the victim ends at `len`.
    pdata_status_t run(size_t len = SIZE_MAX)
    {
        const auto part = [&](std::vector<uint8_t> &one) {
            return exact(one, &one == victim ? len : SIZE_MAX);
        };
        const std::vector<uint8_t> parts[] = {part(base), part(incoming), part(strings)};
        pdata_commit commit;
        pdata_status_t status = pdata_update_init(&commit, parts[0], parts[2]);
        if (status == PDATA_SUCCESS)
            status = pdata_update_merge(&commit, parts[1], parts[2]);
        if (status == PDATA_SUCCESS) {
            const pdata_status_t removed = pdata_update_remove(&commit, USER);
            if (removed != PDATA_ERR_PLU)
                status = removed;
        }
        if (status == PDATA_SUCCESS)
            status = pdata_update_commit(&commit);
        if (status == PDATA_SUCCESS)
            status = read_back(commit, parts[2]);
        return status;
    }

    /// What was written is read back without a fault.
    static pdata_status_t read_back(const pdata_commit &commit, std::span<const uint8_t> strings)
    {
        std::vector<uint8_t> out(pdata_update_get_size(commit));
        size_t size;
        const pdata_status_t status = pdata_update_serialize(commit, out, &size);
        if (status != PDATA_SUCCESS || size == 4)
            return status;
        std::vector<protocol_model> protocols;
        const hstring_t tags = {strings.data() + 4, static_cast<uint32_t>(strings.size()) - 4};
        // Tags may stand behind the stored table: their words were added to it.
        const pdata_status_t read = read_protocols(out, tags, &protocols);
        EXPECT_TRUE(read == PDATA_SUCCESS || read == PDATA_ERR_ENGINE) << read;
        return PDATA_SUCCESS;
    }

    void check(pdata_status_t status)
    {
        static const std::set<uint32_t> known = {0, 2, 53, 54, 100, 102, 107};
        EXPECT_TRUE(known.contains(status)) << status;
        clear_status_slot();
    }
};

TEST(plu_damage, cut_at_every_length)
{
    const std::string text = stderr_of([] {
        for (uint32_t seed = 0; seed < 3; ++seed) {
            damaged_run run(seed);
            EXPECT_EQ(run.run(), PDATA_SUCCESS);
            for (std::vector<uint8_t> *victim : {&run.base, &run.incoming, &run.strings}) {
                run.victim = victim;
                for (size_t len = 0; len < victim->size(); ++len) {
                    const pdata_status_t status = run.run(len);
                    EXPECT_NE(status, PDATA_SUCCESS) << len;
                    run.check(status);
                }
            }
        }
    });
    EXPECT_EQ(text, "");
}

TEST(plu_damage, bytes_flipped)
{
    std::mt19937 random(5);
    (void)stderr_of([&] {
        for (uint32_t seed = 0; seed < dear_rounds(4000); ++seed) {
            damaged_run run(seed % 40);
            std::vector<uint8_t> *const parts[] = {&run.base, &run.incoming, &run.strings};
            std::vector<uint8_t> &victim = *parts[random() % 3];
            for (uint32_t nr = 1 + static_cast<uint32_t>(random() % 4); nr > 0; --nr)
                victim[random() % victim.size()] ^= static_cast<uint8_t>(1U << random() % 8);
            run.check(run.run());
        }
    });
}

TEST(plu_damage, words_replaced)
{
    // Small numbers make lists and offsets that lead somewhere else.
    std::mt19937 random(6);
    (void)stderr_of([&] {
        for (uint32_t seed = 0; seed < dear_rounds(4000); ++seed) {
            damaged_run run(seed % 40);
            std::vector<uint8_t> &victim = seed % 2 == 0 ? run.base : run.incoming;
            for (uint32_t nr = 1 + static_cast<uint32_t>(random() % 3); nr > 0; --nr) {
                uint8_t *word = victim.data() + random() % (victim.size() / 4) * 4;
                csa_set_be32(word, random() % 2 == 0 ? static_cast<uint32_t>(random() % 32)
                                                     : csa_get_be32(word) + 1);
            }
            run.check(run.run());
        }
    });
}

} // namespace
