#include "finding_policy.h"

finding_policy_t finding_policy()
{
    finding_policy_t policy{};
    for (size_t id = 0; id < FINDING_NR; ++id) {
        const finding_level_t level = finding_kinds[id].level;
        policy.levels[id] = level == FINDING_LEVEL_NOTE ? FINDING_LEVEL_OFF : level;
    }
    return policy;
}

std::string finding_policy_change(finding_policy_t &policy, std::string_view change)
{
    const size_t equals = change.find('=');
    const finding_id_t id = finding_find(change.substr(0, equals));
    if (id == FINDING_NR)
        return "there is no id " + std::string(change.substr(0, equals));
    const std::string_view word = equals == change.npos ? "" : change.substr(equals + 1);
    for (const finding_level_t level :
         {FINDING_LEVEL_OFF, FINDING_LEVEL_NOTE, FINDING_LEVEL_WARNING, FINDING_LEVEL_ERROR})
        if (word == finding_level_name(level)) {
            policy.levels[id] = level;
            return "";
        }
    return "write " + std::string(finding_kind(id).id) + "=error, warning, note or off";
}
