// What the views give of a compiled description equals what its text said.
#include <gtest/gtest.h>

#include <random>

#include "random_description.h"
#include "rounds.h"
#include "serialize_fixture.h"
#include "view_model.h"

namespace
{

class view_agreement : public serialize_fixture
{
protected:
    /// Compiles a random description and gives the bytes of its record of descriptions.
    std::vector<uint8_t> compiled(const random_description &description)
    {
        std::string came_to;
        (void)stderr_of([&] { came_to = run(description.json); }); // warnings of directions
        EXPECT_EQ(came_to, "0");
        return part(PDB_TYPE_PROTOCOL_DESCRIPTION);
    }

    view_pool_t main_pool()
    {
        main = part(PDB_TYPE_MAIN_HSTRING);
        return {view_part(view_file(main), 4, main.size() - 4)};
    }

    std::vector<uint8_t> main;
};

TEST_F(view_agreement, views_give_what_the_text_said)
{
    for (uint32_t seed = 1; seed <= rounds(300) && !HasFailure(); ++seed) {
        const random_description description = make_random_description(seed, {});
        SCOPED_TRACE("seed " + std::to_string(seed) + ": " + description.json);
        const std::vector<uint8_t> root = compiled(description);
        view_record_t descriptions;
        view_error_t error;
        ASSERT_TRUE(view_find(view_file(root), TLV_TYPE_ROOT_PROTODESCS, descriptions));
        std::vector<protocol_model> read;
        ASSERT_TRUE(view_model_read_all(descriptions.value, main_pool(), read, error))
            << error.text;
        EXPECT_EQ(read, description.protocols);
    }
}

TEST_F(view_agreement, pools_hold_the_strings_of_the_text)
{
    for (uint32_t seed = 1; seed <= rounds(100) && !HasFailure(); ++seed) {
        const random_description description = make_random_description(seed, {});
        const std::vector<uint8_t> root = compiled(description);
        view_group_t group;
        view_error_t error;
        ASSERT_TRUE(view_group_open(view_part(view_file(root), 8, root.size() - 8), group, error));
        view_pool_starts_t starts;
        EXPECT_TRUE(view_pool_check(group.pool, starts, error)) << error.text;
        std::vector<std::string> strings;
        view_pool_cursor_t cursor = view_pool_walk(group.pool);
        for (view_pool_entry_t entry; view_pool_next(cursor, entry);) {
            strings.emplace_back(entry.text);
            EXPECT_TRUE(view_pool_starts_at(starts, entry.offset));
        }
        EXPECT_EQ(strings, description.group_strings) << description.json;
    }
}

/// Damage of every kind ends with an error that lies within the file.
TEST_F(view_agreement, damaged_descriptions_end_with_a_place_in_the_file)
{
    std::mt19937 random(11);
    for (uint32_t seed = 1; seed <= rounds(40); ++seed) {
        const std::vector<uint8_t> root = compiled(make_random_description(seed, {}));
        for (int round = 0; round < 100; ++round) {
            std::vector<uint8_t> damaged = root;
            if (round % 2 == 0)
                damaged.resize(random() % damaged.size());
            for (auto n = random() % 6; n != 0 && !damaged.empty(); --n)
                damaged[random() % damaged.size()] = static_cast<uint8_t>(random());
            view_record_t part;
            view_error_t error;
            std::vector<protocol_model> read;
            if (view_find(view_file(damaged), TLV_TYPE_ROOT_PROTODESCS, part) &&
                !view_model_read_all(part.value, main_pool(), read, error)) {
                EXPECT_NE(error.fault, VIEW_SOUND);
                EXPECT_LE(error.offset, damaged.size());
                EXPECT_STRNE(error.text, "");
            }
        }
    }
}

} // namespace
