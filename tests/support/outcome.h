/// Statuses and the slot that remembers a failure, as tests compare them.
#pragma once

#include <string>

#include "pdata_error.h"

// Outcomes of failures by their names, to be put in front of ": " and a message; "0" is
// success.
// clang-format off
#define OUTCOME_NO_MEMORY "1"
#define OUTCOME_INVALID_ARGUMENT "2"
#define OUTCOME_IO "3"
#define OUTCOME_INVALID_OPERATION "4"
#define OUTCOME_REGEX "50"
#define OUTCOME_JSON_BAD_SYNTAX "51"
#define OUTCOME_JSON_BAD_SEMANTIC "52"
#define OUTCOME_PROTODESC_ATTR "53"
#define OUTCOME_PROTODESC_ID_OR_NAME_OR_NS "54"
#define OUTCOME_PRAGMAR "56"
#define OUTCOME_OVERFLOW "100"
#define OUTCOME_SIG_EXPORT "101"
#define OUTCOME_TLV_NOT_FOUND "102"
#define OUTCOME_RULE_ENGINE "103"
#define OUTCOME_PLU "106"
#define OUTCOME_ENGINE "107"
#define OUTCOME_PROTODESC_TAG "108"
#define OUTCOME_PSA "110"
#define OUTCOME_IPBT "111"
// clang-format on

/// Empties the status slot, which one process shares between all its tests.
inline void clear_status_slot()
{
    pdata_status_code_set(PDATA_SUCCESS);
    pdata_status_msg_set("");
}

/// What an operation came to: its status, and the message it recorded, as in
/// OUTCOME_JSON_BAD_SEMANTIC ": No colon". Without a record the status stands alone, as in
/// OUTCOME_TLV_NOT_FOUND. A status that differs from the recorded code shows both. The slot is
/// empty afterwards.
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
