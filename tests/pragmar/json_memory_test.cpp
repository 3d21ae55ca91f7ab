#include <gtest/gtest.h>

#include <set>

#include "failing_alloc.h"
#include "json_text.h"
#include "pragmar.h"

namespace
{

/// The pools that are reported empty when each allocation of a parse fails in turn.
std::set<std::string> empty_pools(const std::string &text)
{
    std::set<std::string> pools;
    const auto parse = [&] {
        json_t json;
        pragmar_err_clear();
        if (pragmar_create(&json, text.data(), static_cast<uint32_t>(text.size())) != 0)
            return 0;
        const int code = json_parse(&json);
        pragmar_destroy(&json);
        return code;
    };
    failing_alloc_sweep(parse, [&](int code) {
        if (code == 0)
            return; // the root could not be made
        EXPECT_EQ(code, JSON_ERR_POOL);
        const std::string report = pragmar_err_get();
        const std::string start = "pool failure.\nPool '";
        const size_t end = report.find('\'', start.size());
        EXPECT_EQ(report.substr(0, start.size()), start);
        EXPECT_EQ(report.substr(end), "' is empty. Increase value in configuration "
                                      "(json_config.h).\n");
        pools.insert(report.substr(start.size(), end - start.size()));
    });
    return pools;
}

/// A list of one text, often enough to fill several blocks of memory.
std::string list_of(const std::string &element)
{
    std::string text = "[";
    for (int i = 0; i < 2000; ++i)
        text.append(i == 0 ? "" : ",").append(element);
    return text.append("]");
}

TEST(json_memory, the_pool_of_each_kind_of_node_is_named)
{
    EXPECT_EQ(empty_pools(list_of("true")).count("atoms"), 1U);
    EXPECT_EQ(empty_pools(list_of("1")).count("numbers"), 1U);
    EXPECT_EQ(empty_pools(list_of("\"x\"")).count("strings"), 1U);
    EXPECT_EQ(empty_pools(list_of("{}")).count("objects"), 1U);
    EXPECT_EQ(empty_pools(list_of("[]")).count("arrays"), 1U);
    std::set<std::string> pools;
    for (const char *members : {"{\"a\":1}", "{\"a\":1,\"b\":2}", "{\"a\":true,\"b\":{}}"})
        pools.merge(empty_pools(list_of(members)));
    EXPECT_EQ(pools.count("pairs"), 1U);
}

TEST(json_memory, deep_documents_run_out_as_their_containers)
{
    const std::string arrays = std::string(3000, '[') + std::string(3000, ']');
    EXPECT_EQ(empty_pools(arrays), std::set<std::string>{"arrays"});
    std::string objects;
    for (int i = 0; i < 3000; ++i)
        objects += "{\"a\":";
    objects.append("1").append(3000, '}');
    EXPECT_EQ(empty_pools(objects).count("objects"), 1U);
}

} // namespace
