#include "pattern_build.h"

#include <algorithm>

#include "module_error.h"

namespace
{

constexpr uint32_t ALGO_ALLOWED[] = {
    PATTERN_ALGO_AC,        PATTERN_ALGO_PT,        PATTERN_ALGO_ST,
    PATTERN_ALGO_AO,        PATTERN_ALGO_DP,        PATTERN_ALGO_CLASSIC,
    PATTERN_ALGO_OFFSET_V1, PATTERN_ALGO_OFFSET_V2, PATTERN_ALGO_OFFSET_V3,
};

/// Engines of which one must be present, by pattern type.
constexpr uint32_t ALGO_NEEDED[PATTERN_NB] = {
    PATTERN_ALGO_AC | PATTERN_ALGO_AO, // PATTERN_REGULAR
    PATTERN_ALGO_ST,                   // PATTERN_SUFFIX
    PATTERN_ALGO_PT | PATTERN_ALGO_DP, // PATTERN_PREFIX
    PATTERN_ALGO_AO | PATTERN_ALGO_DP, // PATTERN_OFFSET
    PATTERN_ALGO_PT | PATTERN_ALGO_ST, // PATTERN_EXACT
};

/// Offsets from here on go to the offset-aware automaton when both engines could take them.
constexpr uint32_t DOT_PREFIX_OFFSETS = 11;

/// Where a pattern goes.
enum route_t {
    ROUTE_REJECT,
    ROUTE_DROP, ///< accepted and forgotten
    ROUTE_AC,
    ROUTE_AO,
    ROUTE_PT,
    ROUTE_ST,
    ROUTE_DP,
    ROUTE_DP_OR_AO, ///< by offset
    ROUTE_EXACT,    ///< by dispatch
};

/// One column of routes by pattern type: regular, suffix, prefix, offset, exact.
struct routing {
    uint32_t algo;
    route_t by_type[PATTERN_NB];
};

constexpr routing ROUTING[] = {
    {PATTERN_ALGO_CLASSIC, {ROUTE_AC, ROUTE_ST, ROUTE_PT, ROUTE_REJECT, ROUTE_EXACT}},
    {PATTERN_ALGO_OFFSET_V1, {ROUTE_AO, ROUTE_REJECT, ROUTE_PT, ROUTE_AO, ROUTE_EXACT}},
    {PATTERN_ALGO_OFFSET_V2, {ROUTE_AC, ROUTE_REJECT, ROUTE_DP, ROUTE_DP, ROUTE_REJECT}},
    {PATTERN_ALGO_OFFSET_V3, {ROUTE_AO, ROUTE_REJECT, ROUTE_DP, ROUTE_DP_OR_AO, ROUTE_REJECT}},
};

constexpr routing ROUTING_OTHER = {
    0, {ROUTE_REJECT, ROUTE_DROP, ROUTE_REJECT, ROUTE_REJECT, ROUTE_REJECT}};

route_t route_of(const pattern_build &build, const pattern_info &info)
{
    if (info.type >= PATTERN_NB)
        return ROUTE_REJECT;
    const auto *row = std::find_if(std::begin(ROUTING), std::end(ROUTING),
                                   [&](const routing &r) { return r.algo == build.algo; });
    const routing &routes = row != std::end(ROUTING) ? *row : ROUTING_OTHER;
    const route_t route = routes.by_type[info.type];
    if (route == ROUTE_DP_OR_AO)
        return info.offset < DOT_PREFIX_OFFSETS ? ROUTE_DP : ROUTE_AO;
    return route;
}

int register_exact(pattern_build &build, pattern_info &info, exact_match_dispatch_t em_dispatch)
{
    switch (em_dispatch) {
    case EXACT_MATCH_DEFAULT:
    case EXACT_MATCH_PREFIX:
        info.type = PATTERN_PREFIX;
        return radix_tree_register_exact(build.prefix_tree, info);
    case EXACT_MATCH_SUFFIX:
        info.type = PATTERN_SUFFIX;
        return radix_tree_register_exact(build.suffix_tree, info);
    }
    return MODULE_ERR_OPERATION;
}

} // namespace

int pattern_algo_check(uint32_t algo)
{
    const auto *found = std::find(std::begin(ALGO_ALLOWED), std::end(ALGO_ALLOWED), algo);
    return found != std::end(ALGO_ALLOWED) ? MODULE_SUCCESS : MODULE_ERR_OPERATION;
}

int pattern_init(pattern_build *build, uint32_t algo, uint32_t alpha_config)
{
    int code = pattern_algo_check(algo);
    if (code != MODULE_SUCCESS)
        return code;
    if (build == nullptr)
        return MODULE_ERR_INVALID;
    *build = {};
    build->algo = algo;
    build->alpha_config = static_cast<uint8_t>(alpha_config);
    const uint8_t config = build->alpha_config;
    if ((algo & PATTERN_ALGO_AC) != 0)
        code = aho_corasick_init(build->aho_corasick, 0, config);
    if (code == MODULE_SUCCESS && (algo & PATTERN_ALGO_AO) != 0)
        code = aho_corasick_init(build->ahoff_corasick, 1, config);
    if (code == MODULE_SUCCESS && (algo & PATTERN_ALGO_PT) != 0)
        code = radix_tree_init(build->prefix_tree, config);
    if (code == MODULE_SUCCESS && (algo & PATTERN_ALGO_ST) != 0)
        code = radix_tree_init(build->suffix_tree, config);
    if (code == MODULE_SUCCESS && (algo & PATTERN_ALGO_DP) != 0)
        code = dot_prefix_init(build->dot_prefix);
    return code;
}

int pattern_register_check(const pattern_build &build, const pattern_info &info,
                           mindata_status_t mindata_status)
{
    if (info.type < PATTERN_NB && (build.algo & ALGO_NEEDED[info.type]) == 0)
        return MODULE_ERR_OPERATION;
    if (mindata_status != MINDATA_MANDATORY || info.mindata == PATTERN_MINDATA_NONE)
        return MODULE_SUCCESS;
    const uint64_t end = uint64_t{info.pattern_len} + info.offset;
    return info.mindata == 0 || info.mindata < end ? MODULE_ERR_INVALID : MODULE_SUCCESS;
}

int pattern_register(pattern_build &build, pattern_info &info, mindata_status_t mindata_status,
                     exact_match_dispatch_t em_dispatch)
{
    const int code = pattern_register_check(build, info, mindata_status);
    if (code != MODULE_SUCCESS)
        return code;
    switch (route_of(build, info)) {
    case ROUTE_AC:
        return aho_corasick_register(build.aho_corasick, info);
    case ROUTE_AO:
        return aho_corasick_register(build.ahoff_corasick, info);
    case ROUTE_PT:
        return radix_tree_register(build.prefix_tree, info);
    case ROUTE_ST:
        return radix_tree_register(build.suffix_tree, info);
    case ROUTE_DP:
        return dot_prefix_register(build.dot_prefix, info);
    case ROUTE_EXACT:
        return register_exact(build, info, em_dispatch);
    case ROUTE_DROP:
        return MODULE_SUCCESS;
    default:
        return MODULE_ERR_OPERATION;
    }
}

int pattern_finalize(pattern_build &build)
{
    int code = MODULE_SUCCESS;
    if ((build.algo & PATTERN_ALGO_AC) != 0)
        code = aho_corasick_finalize(build.aho_corasick);
    if (code == MODULE_SUCCESS && (build.algo & PATTERN_ALGO_AO) != 0)
        code = aho_corasick_finalize(build.ahoff_corasick);
    if (code == MODULE_SUCCESS && (build.algo & PATTERN_ALGO_PT) != 0)
        code = radix_tree_finalize(build.prefix_tree);
    if (code == MODULE_SUCCESS && (build.algo & PATTERN_ALGO_ST) != 0)
        code = radix_tree_finalize(build.suffix_tree);
    if (code == MODULE_SUCCESS && (build.algo & PATTERN_ALGO_DP) != 0)
        code = dot_prefix_finalize(build.dot_prefix);
    return code;
}

void pattern_clean(pattern_build &build)
{
    build = {};
}
