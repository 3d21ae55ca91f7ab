#include "description_source.h"

#include "view_stored.h"

namespace
{

bool add_protocol(description_source_t &source, const view_record_t &record,
                  const view_protocol_t &view, view_error_t &error)
{
    std::string_view name;
    if (!view_pool_require(source.groups.back(), view.name, "name", name, error))
        return false;
    source.protocols.push_back(
        {static_cast<uint32_t>(record.offset), static_cast<uint32_t>(record.value.offset),
         static_cast<uint32_t>(record.value.size), static_cast<uint32_t>(source.groups.size() - 1),
         view.id, view.name});
    return true;
}

} // namespace

bool description_source_open(const pdb_view_t &pdb, description_source_t &source,
                             view_error_t &error)
{
    source = {};
    source.file = pdb.file;
    source.main = pdb_view_main_strings(pdb);
    source.has_main = pdb_view_has(pdb, TLV_TYPE_ROOT_STRING);
    return view_each_group(
        pdb_view_root(pdb, TLV_TYPE_ROOT_PROTODESCS), error,
        [&](const view_record_t &, const view_group_t &group) {
            source.groups.push_back(group.pool);
            return view_each_protocol(
                group, error, [&](const view_record_t &record, const view_protocol_t &protocol) {
                    return add_protocol(source, record, protocol, error);
                });
        });
}

model_strings_t source_strings(const description_source_t &source,
                               const source_protocol_t &protocol)
{
    return {source.groups[protocol.group], source.main, source.has_main};
}

std::string_view source_name(const description_source_t &source, const source_protocol_t &protocol)
{
    std::string_view name;
    (void)view_pool_get(source.groups[protocol.group], protocol.name, name);
    return name;
}

view_protocol_t source_protocol(const description_source_t &source,
                                const source_protocol_t &protocol)
{
    view_protocol_t view;
    view_error_t error;
    (void)view_protocol_open({source.file.data + protocol.value, protocol.size, protocol.value},
                             view, error);
    return view;
}
