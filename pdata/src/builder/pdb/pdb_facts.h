/// Facts: what the filing notes of each protocol and rule, once, for the passes that follow.
///
/// The filing goes over a group from its first protocol to its last. The matcher pass asks for the
/// rule of every value, the rule pass for every rule that received an item; both find here what
/// they need of a description. The views point into the pdb, which must outlive them.
///
/// A damaged rule ends the filing of its protocol. What was not noted for that reason is read when
/// it is asked for, so that its failure is reported there.
#pragma once

#include <cstdint>
#include <vector>

#include "csa_str.h"
#include "hstring.h"
#include "pdata_error.h"
#include "protodesc_deserializer.h"

/// Which rule something belongs to.
struct item_idx_t {
    uint32_t item_proto_idx; ///< index of the protocol in the pdb's protocol list
    uint32_t item_rule_idx;  ///< index of the rule within it
};

/// The first minimum data of a rule for one direction. Oddity O135.
struct pdb_mindata_t {
    uint32_t bytes = 0;    ///< 0: none was noted
    uint32_t sub_rule = 0; ///< index of the sub-rule that has it
};

/// What the registration of a value asks of its rule. Every value asks, in no order of memory, so
/// it is kept small and apart from the rest.
struct pdb_rule_facts_t {
    uint32_t priority = 0;      ///< the priority word
    uint32_t preempt = 0;       ///< 1: a preempt rule
    uint32_t nr_sub_rule = 0;   ///< of the rule
    uint32_t nr_noted = 0;      ///< of those, noted
    pdb_mindata_t mindata[2]{}; ///< from the client, from the server
};

/// The names of a sub-rule, offsets in the string table of the group.
struct pdb_bottoms_t {
    uint32_t bottom = 0;
    uint32_t real_bottom = 0;
};

/// What else is asked of a rule.
struct pdb_rule_view_t {
    ruledesc_t rule{};
    pdb_bottoms_t bottoms[2]{}; ///< of the first two sub-rules
    uint32_t nr_noted = 0;      ///< sub-rules noted
};

/// One protocol.
struct pdb_protocol_facts_t {
    protodesc_t protocol;
    csa_str_t name;
};

/// Where the rules of a protocol are among those of the group.
struct pdb_rule_range_t {
    uint32_t first;
    uint32_t nr_rule; ///< noted
};

/// The protocols and rules of a group.
struct pdb_facts_t {
    hstring_t hstring; ///< string table of the group
    std::vector<pdb_protocol_facts_t> protocols;
    std::vector<pdb_rule_range_t> ranges; ///< per protocol
    std::vector<pdb_rule_facts_t> rules;
    std::vector<pdb_rule_view_t> views; ///< per rule
};

/// Makes `facts` those of a group of `nr_protocol` protocols, none of which is noted yet.
void pdb_facts_init(pdb_facts_t *facts, const hstring_t &hstring, size_t nr_protocol);

/// Notes the next protocol of the group.
void pdb_facts_add_protocol(pdb_facts_t *facts, const protodesc_t &protocol, csa_str_t name);

/// Notes the next rule of the newest protocol, and the next sub-rule of the newest rule.
void pdb_facts_add_rule(pdb_facts_t *facts, const ruledesc_t &rule);
void pdb_facts_add_sub_rule(pdb_facts_t *facts, const sub_ruledesc_t &sub_rule);

/// Gives the view of a rule. PDATA_ERR_INVALID_ARGUMENT, without a message for a protocol that was
/// not noted, otherwise as pdb_rule_build_get_rule.
[[nodiscard]] pdata_status_t pdb_facts_get_view(const pdb_facts_t &facts, item_idx_t idx,
                                                pdb_rule_view_t *view);

/// Gives the names of one of the first two sub-rules; fails as pdb_rule_build_get_sub_rule.
[[nodiscard]] pdata_status_t pdb_facts_get_bottoms(const pdb_rule_view_t &view, uint32_t srule_idx,
                                                   pdb_bottoms_t *bottoms);

/// Gives the view and the facts of a rule with the first minimum data for a direction, ATTR_WAY_CTS
/// or any other for the server's, and the sub-rule that has it; without one, 0 and the last
/// sub-rule. Fails as pdb_facts_get_view and pdb_rule_build_get_sub_rule.
[[nodiscard]] pdata_status_t pdb_facts_get_rule(const pdb_facts_t &facts, item_idx_t idx,
                                                uint32_t way, pdb_rule_view_t *view,
                                                pdb_rule_facts_t *rule, pdb_mindata_t *mindata);

/// Frees everything.
void pdb_facts_clean(pdb_facts_t *facts);
