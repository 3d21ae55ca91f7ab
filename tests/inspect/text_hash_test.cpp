// Keys of hashes: that nobody can know them, and that there is one without random bytes.
#include "text_hash.h"

#include <gtest/gtest.h>

#include <cerrno>

#include "failing_call.h"

namespace
{

/// What a text is hashed to with a key of its own.
uint64_t hash_with_new_key()
{
    return text_hash(text_hash_key(), "text");
}

TEST(text_hash, has_a_key_of_its_own_each_time)
{
    EXPECT_NE(hash_with_new_key(), hash_with_new_key());
}

TEST(text_hash, has_one_key_without_random_bytes)
{
    uint64_t hashes[2];
    for (uint64_t &hash : hashes) {
        const failing_call call(CALL_GETRANDOM, ENOSYS);
        hash = hash_with_new_key();
    }
    EXPECT_EQ(hashes[0], hashes[1]);
    EXPECT_NE(hashes[0], hash_with_new_key());
}

} // namespace
