/// The text of one protocol.
#pragma once

#include "slot_memory.h"

/// Appends the object of a protocol. `aliases` are those of the pdb. What no text gives is added
/// to `lost`, and said in the description of the protocol, which is stored nowhere.
void decompile_protocol(const description_model_t &model, const model_protocol_t &protocol,
                        const protocol_keys_t &keys, std::string &text,
                        std::vector<std::string> &lost);
