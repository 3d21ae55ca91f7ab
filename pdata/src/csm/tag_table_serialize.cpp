#include "tag_table_serialize.h"

#include <cstdio>

#include "json_error.h"
#include "json_tools.h"
#include "pragmar.h"
#include "tlv_sink.h"
#include "visitor_tag_table.h"

namespace
{

constexpr uint32_t TAG_SIZE = 8;

std::optional<tag_table_build> fail_with_report()
{
    (void)pdata_fail(PDATA_ERR_NO_MEMORY, "%s", pragmar_err_get()); // the caller returns it
    return std::nullopt;
}

} // namespace

std::optional<tag_table_build> json_to_tag_table(std::string_view pdm, std::string_view sem,
                                                 hstring_build_t *hstring, bool ignore_sem)
{
    json_t json;
    if (pragmar_load(pdm, sem, &json, ignore_sem) != 0)
        return fail_with_report();
    tag_table_t container;
    visitor_tag_table_t visitor;
    visitor_tag_table_init(&visitor, &container);
    const int visited = json_visit(json, &visitor.visitor);
    visitor_tag_table_cleanup(&visitor);
    std::optional<tag_table_build> build;
    if (visited == 0) {
        build = tag_table_create(container.nr_tag, hstring);
        (void)container_to_tag_table(container, &*build); // what was added before a refusal stays
    }
    pragmar_destroy(&json);
    if (visited != 0) {
        std::fprintf(stderr, "json_to_tag_table: %s", pragmar_err_get());
        return fail_with_report();
    }
    return build;
}

tag_table_build tag_table_create(uint32_t capacity, hstring_build_t *hstring)
{
    return {hstring, std::vector<tag_slot_t>(capacity), 0};
}

void tag_table_destroy(tag_table_build *build)
{
    *build = {};
}

pdata_status_t tag_table_add(tag_table_build *build, csa_str_t name, uint32_t id)
{
    if (build->nr_tag_ids == build->slots.size())
        return PDATA_ERR_NO_MEMORY;
    if (tag_table_lookup_id(*build, id) != nullptr)
        return PDATA_ERR_PROTODESC_TAG;
    build->slots[build->nr_tag_ids++] = {name, id};
    return PDATA_SUCCESS;
}

const tag_slot_t *tag_table_lookup_id(const tag_table_build &build, uint32_t id)
{
    for (uint32_t i = 0; i < build.nr_tag_ids; ++i)
        if (build.slots[i].id == id)
            return &build.slots[i];
    return nullptr;
}

pdata_status_t container_to_tag_table(const tag_table_t &tag_table, tag_table_build *build)
{
    for (uint32_t i = 0; i < tag_table.nr_tag; ++i) {
        csa_str_t name;
        set_string_from_json(&name, tag_table.name[i]);
        PDATA_TRY(tag_table_add(build, name, get_number_from_json(tag_table.value[i])));
    }
    return PDATA_SUCCESS;
}

uint32_t tag_table_get_tlv_size(const tag_table_build &build)
{
    return build.nr_tag_ids * TAG_SIZE;
}

pdata_status_t tag_table_serialize(const tag_table_build &build, std::span<uint8_t> buf,
                                   uint32_t *written)
{
    tlv_sink_t sink = tlv_sink_writing(buf);
    for (uint32_t i = 0; i < build.nr_tag_ids; ++i) {
        uint32_t offset;
        const int ret = hstring_get_offset(build.hstring, build.slots[i].name, &offset);
        if (ret == MODULE_ERR_INVALID)
            continue;
        PDATA_TRY(module_err2pdata_status(PDATA_MODULE_HSTRING, ret));
        tlv_sink_put(sink, offset, 4);
        tlv_sink_put(sink, build.slots[i].id, 4);
    }
    *written = static_cast<uint32_t>(sink.offset);
    return PDATA_SUCCESS;
}
