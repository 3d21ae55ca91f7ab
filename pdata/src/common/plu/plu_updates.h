/// The updates of one id, applied to every protocol of the base that bears it.
///
/// A base may hold many protocols of one id, and so may what is merged into it: each of the former
/// then gets all updates of the latter. To look at every rule of every update for every protocol
/// would cost the one number times the other, while most updates bring nothing new. The rules of
/// the updates are therefore read once and put together by content, with the updates that bring
/// each. For a protocol, the contents are looked up, those of one shape that a rule of it equals
/// together (plu_shape.h), and only those updates are applied that bring one it lacks. An update in
/// between would change nothing but the meta, which the last one overwrites.
///
/// What a protocol holds it goes on holding, with two exceptions: its rules are dropped, or its
/// last run becomes longer. The contents are then looked up anew.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "plu_action.h"
#include "plu_duplicate.h"
#include "plu_shape.h"

/// Rules of one content.
struct plu_content_t {
    plu_rule_t rule;
    std::vector<uint32_t> updates; ///< indices of those that bring it, ascending
    uint32_t shape;                ///< index into `shapes`
};

/// Actions of one type that follow each other.
struct plu_stretch_t {
    action_type_t type;
    uint32_t first;
    uint32_t last; ///< behind the last one
};

/// The updates of one id.
struct plu_updates_t {
    std::vector<plu_stretch_t> stretches; ///< all its actions, oldest first
    std::vector<plu_content_t> contents;
    std::vector<plu_shape_t> shapes;
    std::vector<uint32_t> unsettled; ///< updates that a look-up does not decide about, ascending
};

/// Puts the actions of an id together, and reads the rules of its updates. The strings of
/// the contents point into those of the actions.
[[nodiscard]] plu_updates_t plu_read_updates(const protodesc_build_t &pb,
                                             std::span<const action *const> actions);

/// Applies a stretch of updates, in their order, to a record whose rules `known` indexes. Shapes
/// are filed where that helps. Fails as plu_merge_proto_to_protobuild does.
[[nodiscard]] pdata_status_t plu_apply_updates(protodesc_build_t *pb, plu_updates_t &updates,
                                               std::span<const action *const> actions,
                                               const plu_stretch_t &stretch, uint32_t *nr_rules,
                                               plu_rule_index_t *known);
