/// Flows in, what they are out: a runner with what is known of the rules of its database.
#pragma once

#include "flow_match.h"
#include "flow_record.h"

/// What a rule goes by, the most telling first.
enum classify_basis_t : uint8_t {
    BASIS_PAYLOAD,
    BASIS_NAME,
    BASIS_ADDRESS,
    BASIS_PORT,
    BASIS_PROTOCOL,
};

/// Returns "payload", "name", "address", "port" or "protocol".
const char *classify_basis_name(classify_basis_t basis);

struct classifier_t {
    flow_runner_t runner;
    bool initiator = false;
    std::vector<classify_basis_t> bases; ///< by rule
    uint64_t refused = 0;                ///< values of another kind than their attribute's
};

/// Payload kept of each direction, whatever minimum data the pdb asks for, and at most.
constexpr size_t CLASSIFY_PAYLOAD_MIN = 256;
constexpr size_t CLASSIFY_PAYLOAD_MAX = 65535;

/// Returns how many bytes of payload of each direction a database wants to see: the greatest
/// minimum data of its payload matchers, within these bounds.
size_t classify_payload_bytes(const pdata_db *db);

/// Makes a classifier of a database, which it holds. Throws std::bad_alloc.
void classifier_open(pdata_db *db, bool initiator, classifier_t &classifier);

/// What a flow is. `rule` is 0 where no rule fires.
struct classified_t {
    pdata_rule rule = 0;
    std::vector<std::string_view> path; ///< into the database
    std::string_view protocol;          ///< the last of the path, empty where unknown
    classify_basis_t basis = BASIS_PROTOCOL;
};

/// Runs a flow and says what it is.
classified_t classify(classifier_t &classifier, const flow_record_t &record);
