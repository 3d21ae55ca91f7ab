/// Statuses and the slot that remembers a failure, as tests compare them.
#pragma once

#include <string>

#include "pdata_error.h"

// Outcomes of failures by their names, to be put in front of ": " and a message.
// clang-format off
#define OUTCOME_PROTODESC_ATTR "53"
#define OUTCOME_PROTODESC_ID_OR_NAME_OR_NS "54"
#define OUTCOME_OVERFLOW "100"
#define OUTCOME_TLV_NOT_FOUND "102"
#define OUTCOME_PLU "106"
#define OUTCOME_ENGINE "107"
// clang-format on

/// Empties the status slot, which one process shares between all its tests.
inline void clear_status_slot()
{
    pdata_status_code_set(PDATA_SUCCESS);
    pdata_status_msg_set("");
}

/// What an operation came to: its status, and the message it recorded: "52: No colon". Without a
/// record the status stands alone: "102". A status that differs from the recorded code shows both.
/// The slot is empty afterwards.
inline std::string outcome(pdata_status_t status)
{
    std::string text = std::to_string(status);
    const pdata_status_t recorded = pdata_status_code_get();
    const std::string msg = pdata_status_msg_get();
    if (recorded != PDATA_SUCCESS || !msg.empty()) {
        if (recorded != status)
            text.append(" (recorded ").append(std::to_string(recorded)).append(")");
        text.append(": ").append(msg);
    }
    clear_status_slot();
    return text;
}
