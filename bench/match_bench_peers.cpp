#include "match_bench_peers.h"

#include <unordered_set>

#include "bench_run.h"
#ifdef PDATA_BENCH_RE2
#include <re2/re2.h>
#include <re2/set.h>
#endif
#ifdef PDATA_BENCH_HYPERSCAN
#include <hs.h>
#endif

namespace
{

using texts_t = std::vector<std::string>;

std::string escaped(const std::string &text)
{
    std::string out;
    for (const char c : text)
        out += c == '.' ? std::string("\\.") : std::string(1, c);
    return out;
}

struct text_hash_t {
    using is_transparent = void;
    size_t operator()(std::string_view text) const { return std::hash<std::string_view>()(text); }
};

/// A hash table that is asked for every end of a value.
std::unique_ptr<bench_peer_t> table_peer(const texts_t &suffixes)
{
    using table_t = std::unordered_set<std::string, text_hash_t, std::equal_to<>>;
    return std::make_unique<bench_peer_t>(bench_peer_t{
        "hash_table", [table = table_t(suffixes.begin(), suffixes.end())](const texts_t &values) {
            size_t nr = 0;
            for (const std::string &value : values)
                for (size_t at = 0; at < value.size(); ++at)
                    nr += table.contains(std::string_view(value).substr(at)) ? 1 : 0;
            return nr;
        }});
}

/// Takes the escapes of JSON away, and the end of a run of hexadecimal bytes.
std::string as_expression(const std::string &json)
{
    std::string out;
    for (size_t i = 0; i < json.size(); ++i) {
        if (json[i] == '\\' && i + 1 < json.size() && json[i + 1] == '\\')
            ++i;
        out += json[i];
    }
    for (size_t at = 0; (at = out.find("\\xBit")) != out.npos;)
        out.erase(at, 2);
    return "^(?s:" + out + ")$";
}

#ifdef PDATA_BENCH_RE2
std::unique_ptr<bench_peer_t> re2_peer(const texts_t &expressions)
{
    RE2::Options options;
    options.set_max_mem(int64_t{1} << 30);
    options.set_encoding(RE2::Options::EncodingLatin1);
    options.set_dot_nl(true);
    auto set = std::make_shared<RE2::Set>(options, RE2::UNANCHORED);
    for (const std::string &expression : expressions)
        bench_require(set->Add(expression, nullptr) >= 0, "adding to the set");
    bench_require(set->Compile(), "compiling the set");
    return std::make_unique<bench_peer_t>(
        bench_peer_t{"re2_set", [set, found = std::vector<int>()](const texts_t &values) mutable {
                         size_t nr = 0;
                         for (const std::string &value : values) {
                             found.clear();
                             (void)set->Match(value, &found);
                             nr += found.size();
                         }
                         return nr;
                     }});
}
#endif

#ifdef PDATA_BENCH_HYPERSCAN
/// A database with its scratch space.
struct hs_t {
    hs_database_t *database = nullptr;
    hs_scratch_t *scratch = nullptr;

    hs_t() = default;
    hs_t(const hs_t &) = delete;
    hs_t &operator=(const hs_t &) = delete;
    ~hs_t()
    {
        hs_free_scratch(scratch);
        hs_free_database(database);
    }
};

/// What a scan counts: all matches, or those that end with the data.
struct hs_count_t {
    size_t nr = 0;
    unsigned long long end = 0;
};

int count_all(unsigned, unsigned long long, unsigned long long, unsigned, void *context)
{
    ++static_cast<hs_count_t *>(context)->nr;
    return 0;
}

int count_ends(unsigned, unsigned long long, unsigned long long to, unsigned, void *context)
{
    auto *count = static_cast<hs_count_t *>(context);
    count->nr += to == count->end ? 1 : 0;
    return 0;
}

size_t hs_match(const hs_t &hs, match_event_handler handler, const texts_t &values)
{
    size_t nr = 0;
    for (const std::string &value : values) {
        hs_count_t count{0, value.size()};
        (void)hs_scan(hs.database, value.data(), static_cast<unsigned>(value.size()), 0, hs.scratch,
                      handler, &count);
        nr += count.nr;
    }
    return nr;
}

std::unique_ptr<bench_peer_t> hs_peer(const std::string &name, const texts_t &texts, bool literal)
{
    std::vector<const char *> pointers;
    std::vector<size_t> lengths;
    std::vector<unsigned> ids;
    for (const std::string &text : texts) {
        pointers.push_back(text.c_str());
        lengths.push_back(text.size());
        ids.push_back(static_cast<unsigned>(ids.size() + 1));
    }
    const std::vector<unsigned> flags(
        texts.size(), literal ? 0U : unsigned{HS_FLAG_SINGLEMATCH | HS_FLAG_DOTALL});
    const auto nr = static_cast<unsigned>(texts.size());
    auto hs = std::make_shared<hs_t>();
    hs_compile_error_t *error = nullptr;
    const hs_error_t code =
        literal ? hs_compile_lit_multi(pointers.data(), flags.data(), ids.data(), lengths.data(),
                                       nr, HS_MODE_BLOCK, nullptr, &hs->database, &error)
                : hs_compile_multi(pointers.data(), flags.data(), ids.data(), nr, HS_MODE_BLOCK,
                                   nullptr, &hs->database, &error);
    bench_require(code == HS_SUCCESS, "compiling a database");
    bench_require(hs_alloc_scratch(hs->database, &hs->scratch) == HS_SUCCESS, "scratch space");
    return std::make_unique<bench_peer_t>(
        bench_peer_t{name, [hs, literal](const texts_t &values) {
                         return hs_match(*hs, literal ? count_ends : count_all, values);
                     }});
}
#endif

} // namespace

bench_peers_t bench_suffix_peers(const texts_t &suffixes)
{
    bench_peers_t peers;
    peers.push_back(table_peer(suffixes));
    texts_t expressions;
    for (const std::string &suffix : suffixes)
        expressions.push_back(escaped(suffix) + "$");
#ifdef PDATA_BENCH_RE2
    peers.push_back(re2_peer(expressions));
#endif
#ifdef PDATA_BENCH_HYPERSCAN
    peers.push_back(hs_peer("hyperscan_literals", suffixes, true));
    peers.push_back(hs_peer("hyperscan_multi", expressions, false));
#endif
    return peers;
}

bench_peers_t bench_expression_peers(const texts_t &expressions)
{
    bench_peers_t peers;
    texts_t anchored;
    for (const std::string &expression : expressions)
        anchored.push_back(as_expression(expression));
#ifdef PDATA_BENCH_RE2
    peers.push_back(re2_peer(anchored));
#endif
#ifdef PDATA_BENCH_HYPERSCAN
    peers.push_back(hs_peer("hyperscan_multi", anchored, false));
#endif
    return peers;
}
