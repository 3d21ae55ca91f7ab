/// The rules of a container as they become sub-rule slots of a record.
#pragma once

#include "container_protocol.h"
#include "protodesc.h"

/// Converts every sub-rule of every rule of the container into the next slot of `pb`, which must
/// have none in use, and sets the number of slots. The first failure is returned, recorded where
/// it is found.
///
/// A sub-rule without attributes gets its protocol, its minimum data and its ids and nothing
/// else: what the slot keeps from its last use shows. Oddity O88.
[[nodiscard]] pdata_status_t vprotocol_rules_to_protodesc(const protocol_t &protocol,
                                                          protodesc_build_t *pb);
