/// A thin C++ wrapper of pdata.h: owners for the handles, exceptions for the results.
///
///     const pdata::database db = pdata::database::open("rules.pdb");
///     const pdata_attribute name = db.attribute("ssl", "common_name", PDATA_CTS);
///     pdata::flow flow(db);
///     flow.add(name, "www.example.org");
///     if (const pdata_rule rule = flow.best())
///         std::cout << db.protocol_of(rule) << '\n';
///
/// Everything that pdata.h says about threads, lifetimes and values holds here too. What the
/// wrapper lacks is done with the C operations on get().
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "pdata.h"

namespace pdata
{

/// A result other than PDATA_R_OK.
class error : public std::runtime_error
{
public:
    explicit error(const pdata_failure &failure)
        : std::runtime_error(failure.text), details(failure)
    {
    }
    explicit error(pdata_result result) : std::runtime_error(pdata_result_text(result))
    {
        details.result = result;
    }

    const pdata_failure &failure() const noexcept { return details; }
    pdata_result result() const noexcept { return details.result; }

private:
    pdata_failure details{};
};

inline void check(pdata_result result)
{
    if (result != PDATA_R_OK)
        throw error(result);
}

/// Returns the bytes of a text.
inline std::string_view view(const pdata_text &text)
{
    return {text.bytes, text.size};
}

/// A hold on a database. Copies hold the same one.
class database
{
public:
    static database open(const std::string &path, uint32_t flags = 0)
    {
        pdata_failure failure;
        pdata_db *db = nullptr;
        if (pdata_db_open(path.c_str(), flags, &db, &failure) != PDATA_R_OK)
            throw error(failure);
        return database(db);
    }
    static database open_memory(const void *bytes, size_t size, uint32_t flags = 0)
    {
        pdata_failure failure;
        pdata_db *db = nullptr;
        if (pdata_db_open_memory(bytes, size, flags, &db, &failure) != PDATA_R_OK)
            throw error(failure);
        return database(db);
    }

    /// Takes over a hold.
    explicit database(pdata_db *held) : db(held, pdata_db_release) {}

    pdata_db *get() const noexcept { return db.get(); }

    pdata_attribute attribute(const char *protocol, const char *name,
                              pdata_direction direction) const noexcept
    {
        return pdata_db_attribute(get(), protocol, name, direction);
    }
    pdata_protocol protocol(const char *name) const noexcept
    {
        return pdata_db_protocol(get(), name);
    }
    std::string_view protocol_name(pdata_protocol protocol) const noexcept
    {
        return view(pdata_db_protocol_name(get(), protocol));
    }
    pdata_rule_info rule(pdata_rule number) const
    {
        pdata_rule_info info;
        check(pdata_db_rule(get(), number, &info));
        return info;
    }
    /// Returns the protocol that a rule classifies.
    std::string_view protocol_of(pdata_rule number) const
    {
        const pdata_rule_info info = rule(number);
        return info.nr_path == 0 ? std::string_view() : protocol_name(info.path[info.nr_path - 1]);
    }
    pdata_db_info describe() const noexcept
    {
        pdata_db_info info;
        pdata_db_describe(get(), &info);
        return info;
    }

private:
    std::shared_ptr<pdata_db> db;
};

/// A flow.
class flow
{
public:
    explicit flow(const database &db, uint32_t flags = 0) : handle(nullptr, pdata_flow_free)
    {
        pdata_flow *made = nullptr;
        check(pdata_flow_new(db.get(), flags, &made));
        handle.reset(made);
    }

    pdata_flow *get() const noexcept { return handle.get(); }

    void reset() noexcept { pdata_flow_reset(get()); }
    void add(pdata_attribute attribute, std::string_view data, uint32_t flags = 0)
    {
        check(pdata_flow_add_bytes(get(), attribute, data.data(), data.size(), flags));
    }
    void add_number(pdata_attribute attribute, uint64_t number)
    {
        check(pdata_flow_add_number(get(), attribute, number));
    }
    void add_ipv4(pdata_attribute attribute, const uint8_t *address)
    {
        check(pdata_flow_add_ipv4(get(), attribute, address));
    }
    void add_ipv6(pdata_attribute attribute, const uint8_t *address)
    {
        check(pdata_flow_add_ipv6(get(), attribute, address));
    }
    void add_protocol(pdata_protocol protocol) { check(pdata_flow_add_protocol(get(), protocol)); }
    pdata_rule best() const noexcept { return pdata_flow_best(get()); }
    std::vector<pdata_rule> rules() const
    {
        std::vector<pdata_rule> found(pdata_flow_rules(get(), nullptr, 0));
        pdata_flow_rules(get(), found.data(), found.size());
        return found;
    }
    std::vector<pdata_item> items() const
    {
        std::vector<pdata_item> found(pdata_flow_items(get(), nullptr, 0));
        pdata_flow_items(get(), found.data(), found.size());
        return found;
    }

private:
    std::unique_ptr<pdata_flow, void (*)(pdata_flow *)> handle;
};

} // namespace pdata
