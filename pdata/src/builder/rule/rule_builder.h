/// The rule builder: every rule becomes entries of the run-time rule engine.
///
/// The engine is handed item ids by the matchers. Its table holds, per item id, the rule that owns
/// the item and the bit that the item stands for; a rule fires once all its bits are set.
///
/// Serialized (the value of a rule engine record): a record of type TLV_TYPE_RULE_TABLE with
/// `nb_items` slots of four words, slot k describing item id k: rule id, priority, scope, and the
/// rule's full bitset with the position of the item's bit in its upper half. Slots of ids that no
/// rule owns, at least slot 0, are zero.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "format_limits.h"
#include "format_loadable.h"
#include "format_types.h"
#include "pdata_error.h"
#include "tlv_sink.h"

/// One item of a registered rule; an id of 0 marks an unused slot.
struct rule_item {
    uint32_t id = 0;
    uint16_t bitset_pos = 0;
};

/// One registered rule.
struct rule_builder_entry {
    uint32_t id = 0; ///< bits 27 to 0: sequence number from 1; bits 31 to 28: flags
    uint32_t priority = 0;
    uint32_t scope = 0;
    uint32_t bitset_full = 0; ///< one bit per item, from bit 0 upward
    uint32_t nb_items = 0;
    size_t first_item = 0; ///< position of its slots among those of the builder
};

struct rule_builder_t {
    uint32_t nb_items = 0;                 ///< one more than the largest item id
    uint32_t nb_rules = 0;                 ///< also the sequence number handed out last
    std::vector<rule_builder_entry> rules; ///< in the order of registration
    std::vector<rule_item> items;          ///< the slots of all rules, one rule after another
};

/// One item of a rule to register.
struct rule_registration_item_t {
    uint32_t item;     ///< its id; 0 for none
    uint32_t referer;  ///< 1: its attribute is a referer
    uint32_t sub_rule; ///< index of the sub-rule that it belongs to
};

/// A rule to register.
struct rule_registration_t {
    std::span<const rule_registration_item_t> items;
    uint32_t priority;
    uint32_t flags;
    uint32_t scope;
};

/// Empties a builder.
void rule_builder_init(rule_builder_t *rule_builder);

/// Registers a rule and gives its sequence number. Bits go to the items of sub-rule 0 first, then
/// to those of sub-rule 1, in slot order; other items get none. Oddity O128.
///
/// Returns PDATA_ERR_INVALID_ARGUMENT with a message for more than RULE_MAX_ITEM items, and
/// PDATA_ERR_NO_MEMORY.
[[nodiscard]] pdata_status_t rule_builder_register(rule_builder_t *rule_builder,
                                                   const rule_registration_t &rule,
                                                   uint32_t *rule_id);

/// Emits the table. PDATA_ERR_RULE_ENGINE with a message for an item id beyond the table,
/// PDATA_ERR_OVERFLOW with one for a table that no record can hold.
[[nodiscard]] pdata_status_t rule_builder_emit(const rule_builder_t &rule_builder,
                                               tlv_sink_t &sink);

/// Returns the size in bytes of the serialized table.
size_t rule_builder_get_size(const rule_builder_t &rule_builder);

/// Writes the table into `buf`, which must be zero-filled: rule_builder_emit, or
/// PDATA_ERR_INVALID_ARGUMENT with a message for a buffer of another size.
[[nodiscard]] pdata_status_t rule_builder_serialize(const rule_builder_t &rule_builder,
                                                    std::span<uint8_t> buf);

/// Frees everything.
void rule_builder_clean(rule_builder_t *rule_builder);
