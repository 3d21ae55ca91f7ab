/// The duplicate search: does a protocol have an incoming rule already?
///
/// The slots of the record are seen as runs: consecutive slots of one rule id, at most as many as
/// a rule may have sub-rules. A run equals a rule when it has as many slots as the rule has
/// sub-rules and every slot equals its sub-rule, first in what is general to a sub-rule, then in
/// its attributes:
///
/// - attribute count, scope, version identifier, both protocols, order, its significance, path and
///   mindata must be equal. An attribute count that differs is let pass when the rule has one
///   sub-rule with as many attributes as the slot's first attribute has values; the attributes are
///   then compared in split mode.
/// - An attribute whose name differs from that of the slot's attribute at its place is passed over;
///   with the same name, each of its values must equal the slot's value at its place. In split
///   mode the first value of each attribute stands against one value of the slot's first attribute.
///
/// Fastpass, preempt, rule tags, directions and transports are not looked at. What a reset leaves
/// in a slot is: the value count of a first attribute that is not set. Oddities O117 and O118.
///
/// Comparing a rule with every run would cost rules times rules. An index is kept instead: runs
/// that differ in values only make up a class, found by a hash of the general parts, and within a
/// class each value at each place lists the runs that hold it. The shortest list that a rule leads
/// to is compared. A hash over whole rules was turned down, since neither part is an equivalence.
#pragma once

#include <cstdint>
#include <span>
#include <unordered_map>
#include <vector>

#include "hstring.h"
#include "protodesc.h"
#include "protodesc_deserializer.h"

/// The string tables that a stored description refers to.
struct plu_strings_t {
    hstring_t pg_hstring;
    hstring_t root_hstring; ///< for rule tags; null: there are none
};

/// What is general to a sub-rule, wherever it is stored.
struct plu_generic_t {
    uint32_t scope;
    uint32_t vid;
    csa_str_t bottom_protocol;
    csa_str_t protocol;
    uint32_t order;
    bool ruleorder;
    std::span<const csa_str_t> path;
    uint32_t stc_mindata;
    uint32_t cts_mindata;
};

/// An attribute of an incoming rule.
struct plu_attr_t {
    csa_str_t name;
    uint32_t nr_values;
    uint32_t first_value; ///< index into `values`; as many as a slot can hold are there
};

/// A sub-rule of an incoming rule.
struct plu_sub_rule_t {
    plu_generic_t generic;
    uint32_t nr_attr;
    uint32_t first_attr; ///< index into `attrs`
};

/// An incoming rule, read once.
struct plu_rule_t {
    std::vector<plu_sub_rule_t> sub_rules;
    std::vector<plu_attr_t> attrs;
    std::vector<csa_str_t> values; ///< absent: the stored offset cannot be read
    std::vector<csa_str_t> path;
    bool has_unreadable = false; ///< one of the values is absent
    bool fits = false; ///< it has sub-rules, and no more of anything than a run of slots can hold
};

/// A run of slots.
struct plu_run_t {
    uint32_t start;
    uint32_t len; ///< 0: the run became longer and is listed anew
};

/// Runs that differ in their values only.
struct plu_class_t {
    plu_run_t sample;           ///< as it was listed
    std::vector<uint32_t> runs; ///< indices into `runs`
};

/// The index over the rules of one record.
struct plu_rule_index_t {
    uint32_t nr_slots = 0;    ///< slots that are listed
    uint32_t nr_relisted = 0; ///< runs that became longer and were listed anew
    std::vector<plu_run_t> runs;
    std::vector<plu_class_t> classes;
    std::unordered_multimap<uint64_t, uint32_t> by_generic; ///< hash of a class: its index
    /// Hash of a class, a place and a value there: the runs that hold it.
    std::unordered_map<uint64_t, std::vector<uint32_t>> by_value;
    plu_rule_t rule; ///< the rule that is looked for; kept for its memory
};

/// Compares two texts: 0 when they are equal, 1 when their lengths differ, else the order of their
/// bytes.
int pdata_strstrncmp(const csa_str_t &a, const csa_str_t &b);

/// Reads a rule for comparison. Fails like an accessor when a part cannot be read that every
/// comparison reads: such a rule cannot be copied either. What `fits` denies is read in part only.
[[nodiscard]] pdata_status_t plu_rule_read(const protodesc_build_t &pb, const ruledesc_t &ruledesc,
                                           const plu_strings_t &strings, plu_rule_t *rule);

/// Compares a slot with sub-rule `index` in what is general, and tells whether their attributes
/// are to be compared in split mode.
bool plu_subrules_compare_generic_attribute(const ruledesc_build_t &slot, const plu_rule_t &rule,
                                            size_t index, bool *split);

/// Compares the attributes. Fails with PDATA_ERR_ENGINE when it meets an unreadable value.
[[nodiscard]] pdata_status_t plu_subrules_compare_classif_attribute(const ruledesc_build_t &slot,
                                                                    const plu_rule_t &rule,
                                                                    size_t index, bool split,
                                                                    bool *equal);

/// Compares a run of as many slots as the rule has sub-rules.
[[nodiscard]] pdata_status_t plu_find_duplicate_rule_verdict(const protodesc_build_t &pb,
                                                             uint32_t start, const plu_rule_t &rule,
                                                             bool *equal);

/// Returns the run that starts at slot `start` of the `nr_slots` in use.
plu_run_t plu_run_at(const protodesc_build_t &pb, uint32_t start, uint32_t nr_slots);

/// The search without an index: compares every run, in slot order, up to the first duplicate.
[[nodiscard]] pdata_status_t plu_walk_duplicate_rules(const protodesc_build_t &pb,
                                                      const plu_rule_t &rule, uint32_t nr_slots,
                                                      bool *found);

/// The search. Fails as plu_rule_read does. `index` must be empty or belong to the rules of `pb`;
/// rules that were added since the last search are listed first.
[[nodiscard]] pdata_status_t plu_find_duplicate_rules(const protodesc_build_t &pb,
                                                      const ruledesc_t &ruledesc,
                                                      const plu_strings_t &strings,
                                                      uint32_t nr_slots, plu_rule_index_t *index,
                                                      bool *found);

/// Returns a run of the indexed record that equals `rule`, all of whose values are readable, or
/// null. It stands until the index changes.
const plu_run_t *plu_rule_index_find(const protodesc_build_t &pb, const plu_rule_t &rule,
                                     uint32_t nr_slots, plu_rule_index_t *index);

/// Lists the rules that were added since the last search.
void plu_rule_index_update(const protodesc_build_t &pb, uint32_t nr_slots, plu_rule_index_t *index);

/// Empties an index: the rules of its record were dropped.
void plu_rule_index_reset(plu_rule_index_t *index);

/// Tells whether two rules are the same to every comparison with a record.
bool plu_rule_equal(const plu_rule_t &a, const plu_rule_t &b);

/// The same but for the names and values of their attributes.
bool plu_rule_alike(const plu_rule_t &a, const plu_rule_t &b);

/// Hash what the two compare.
uint64_t plu_rule_hash(const plu_rule_t &rule);
uint64_t plu_rule_shape_hash(const plu_rule_t &rule);

/// What is general to a slot.
plu_generic_t plu_generic_of(const ruledesc_build_t &slot);

/// Tells whether two sub-rules are equal in what is general, but for their attribute counts.
bool plu_generic_equal(const plu_generic_t &a, const plu_generic_t &b);
