#include "classify.h"

#include <algorithm>
#include <array>

#include "pdata.hpp"

namespace
{

bool is_payload(std::string_view attribute)
{
    return attribute == "stream" || attribute == "pattern" || attribute == "content";
}

classify_basis_t basis_of(const pdata_matcher_info &matcher)
{
    const std::string_view attribute = pdata::view(matcher.name);
    if (matcher.kind == PDATA_IPV4 || matcher.kind == PDATA_IPV6)
        return BASIS_ADDRESS;
    if (matcher.kind == PDATA_BYTES)
        return is_payload(attribute) ? BASIS_PAYLOAD : BASIS_NAME;
    return attribute == "port" ? BASIS_PORT : BASIS_PROTOCOL;
}

void find_bases(pdata_db *db, const pdata_db_info &info, classifier_t &classifier)
{
    classifier.bases.assign(size_t{info.nr_rule} + 1, BASIS_PROTOCOL);
    for (pdata_item item = 1; item <= info.nr_item; ++item) {
        pdata_item_info row = {};
        pdata_matcher_info matcher = {};
        (void)pdata_db_item(db, item, &row);
        if (pdata_db_matcher(db, row.matcher, &matcher) != PDATA_R_OK)
            continue; // no matcher has the item
        classify_basis_t &basis = classifier.bases[row.rule];
        basis = std::min(basis, basis_of(matcher));
    }
}

} // namespace

const char *classify_basis_name(classify_basis_t basis)
{
    static constexpr std::array names = {"payload", "name", "address", "port", "protocol"};
    return names[basis];
}

size_t classify_payload_bytes(const pdata_db *db)
{
    pdata_db_info info = {};
    pdata_db_describe(db, &info);
    size_t most = CLASSIFY_PAYLOAD_MIN;
    for (pdata_matcher number = 1; number <= info.nr_matcher; ++number) {
        pdata_matcher_info matcher = {};
        (void)pdata_db_matcher(db, number, &matcher);
        if (is_payload(pdata::view(matcher.name)) && matcher.min_data <= CLASSIFY_PAYLOAD_MAX)
            most = std::max<size_t>(most, matcher.min_data);
    }
    return most;
}

void classifier_open(pdata_db *db, bool initiator, classifier_t &classifier)
{
    pdata_db_info info = {};
    pdata_db_describe(db, &info);
    classifier.initiator = initiator;
    find_bases(db, info, classifier);
    flow_runner_open(db, 0, classifier.runner);
}

classified_t classify(classifier_t &classifier, const flow_record_t &record)
{
    flow_refusal_t refusal;
    classified_t classified;
    if (!flow_runner_run(classifier.runner, flow_record_values(record, classifier.initiator),
                         refusal))
        ++classifier.refused;
    classified.rule = pdata_flow_best(classifier.runner.flow.get());
    if (classified.rule == 0)
        return classified;
    const pdata_db *db = pdata_flow_db(classifier.runner.flow.get());
    pdata_rule_info rule = {};
    (void)pdata_db_rule(db, classified.rule, &rule);
    classified.path = flow_rule_path(db, rule);
    classified.protocol = classified.path.empty() ? "unknown" : classified.path.back();
    classified.basis = classifier.bases[classified.rule];
    return classified;
}
