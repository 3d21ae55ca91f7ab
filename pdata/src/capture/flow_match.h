/// Flows run through a loadable pdb: from the values of a flow to the operations of libpdata.
///
/// One runner serves one thread. The names of attributes are looked up once each.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "flow.h"
#include "pdata.h"

/// Returns the names of the path of a rule, and the last of them: what the rule classifies flows
/// as; empty for an empty path. They point into the database.
std::vector<std::string_view> flow_rule_path(const pdata_db *db, const pdata_rule_info &rule);
std::string_view flow_rule_protocol(const pdata_db *db, const pdata_rule_info &rule);

struct pdata_flow_delete {
    void operator()(pdata_flow *flow) const { pdata_flow_free(flow); }
};

/// Names of attributes, and of protocols, that a runner remembers: those of flows from outside have
/// no end.
constexpr size_t FLOW_RUNNER_NAMES = 4096;

/// A flow object and what it has looked up. The database must outlive nothing: it is held.
struct flow_runner_t {
    std::unique_ptr<pdata_flow, pdata_flow_delete> flow;
    std::map<std::tuple<std::string, std::string, flow_way_t>, pdata_attribute, std::less<>>
        attributes;
    std::map<std::string, pdata_protocol> protocols;
};

/// Makes a runner of a database; `flags` are those of pdata_flow_new. Throws std::bad_alloc.
void flow_runner_open(pdata_db *db, uint32_t flags, flow_runner_t &runner);

/// A value that is of another kind than its attribute's.
struct flow_refusal_t {
    size_t value = 0;                ///< index in the flow
    pdata_kind wanted = PDATA_BYTES; ///< what the attribute holds
};

/// Forgets the flow before and adds the values of this one. Values of attributes that no rule tests
/// lead to nothing. A value of another kind than its attribute's is left out: of such values the
/// first is told in `refusal`, and false returned.
[[nodiscard]] bool flow_runner_run(flow_runner_t &runner, std::span<const flow_attr_t> values,
                                   flow_refusal_t &refusal);

/// Tells whether any rule tests the attribute of a value; "has" is always of use.
bool flow_runner_tests(flow_runner_t &runner, const flow_attr_t &value);

/// Says what is wrong with the value that was refused.
std::string flow_refusal_text(std::span<const flow_attr_t> values, const flow_refusal_t &refusal);
