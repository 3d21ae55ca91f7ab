#include "matcher_builder.h"

#include "matcher_stream.h"
#include "tlv_description.h"

namespace
{

bool is_stream(uint32_t type)
{
    return type == MATCHER_TYPE_STREAM;
}

bool is_number(uint32_t type)
{
    return type >= MATCHER_TYPE_NUMBER_8 && type <= MATCHER_TYPE_IP_6;
}

pdata_status_t stream_status(int ret)
{
    return module_err2pdata_status(PDATA_MODULE_STREAM, ret);
}

pdata_status_t number_status(int ret)
{
    return module_err2pdata_status(PDATA_MODULE_NUMBER, ret);
}

void copy_desc(matcher_build *matcher, const matcher_desc_t &desc)
{
    matcher->min_data = desc.min_data;
    matcher->max_perm = desc.max_perm;
    matcher->max_prv_id = desc.max_prv_id;
    matcher->start_pub_id = desc.start_item_id;
    matcher->curr_pub_id = desc.start_item_id;
    matcher->algo = desc.algo;
    matcher->mindata_status = desc.mindata_status;
    matcher->em_dispatch = desc.em_dispatch;
    matcher->alpha_config = desc.alpha_config;
    matcher->budget.limit = desc.max_bytes;
}

pdata_status_t matcher_register_number(matcher_build *matcher, const matcher_data_t &data,
                                       uint32_t item_id)
{
    return number_status(number_register(matcher->number, {data.left, data.right, item_id}));
}

void matcher_serialize_meta(const matcher_build &matcher, tlv_sink_t &sink)
{
    const size_t header = tlv_open_record(sink);
    tlv_sink_put(sink, matcher.matcher_type, 4);
    tlv_sink_put(sink, matcher.min_data, 4);
    tlv_close_short_record(sink, header, TLV_TYPE_MATCHER_META);
}

pdata_status_t matcher_serialize_number(const matcher_build &matcher, tlv_sink_t &sink)
{
    const size_t header = tlv_open_record(sink);
    number_emit(matcher.number, sink);
    return tlv_close_record(sink, header, TLV_TYPE_MATCHER_NUMBER);
}

} // namespace

pdata_status_t matcher_init(matcher_build *matcher, uint32_t matcher_type, uint32_t matcher_id,
                            const matcher_desc_t &desc)
{
    *matcher = {};
    if (desc.start_item_id >= MATCHER_PUBLIC_ID_LIMIT ||
        (!is_stream(matcher_type) && !is_number(matcher_type)))
        return PDATA_ERR_INVALID_ARGUMENT;
    matcher->matcher_type = static_cast<matcher_type_t>(matcher_type);
    matcher->matcher_id = matcher_id;
    copy_desc(matcher, desc);
    if (is_number(matcher_type))
        return number_status(number_init(matcher->number, matcher_type));
    if (const int ret = hstring_init(&matcher->hstring, 0); ret != 0)
        return module_err2pdata_status(PDATA_MODULE_HSTRING, ret);
    return stream_status(pattern_init(&matcher->pattern, matcher->algo, matcher->alpha_config));
}

pdata_status_t matcher_register(matcher_build *matcher, const matcher_data_t &data,
                                uint32_t *item_id, bool forced, const pattern_info &info,
                                pdata_sig_export_t *sig_export)
{
    if (!forced)
        *item_id = matcher->curr_pub_id++;
    PDATA_TRY(matcher_budget_take(&matcher->budget, MATCHER_VALUE_BYTES + data.pattern.size()));
    if (pdata_sig_export_element_register(sig_export, data.pattern.data(),
                                          static_cast<uint32_t>(data.pattern.size()),
                                          *item_id) != PDATA_SUCCESS)
        return PDATA_ERR_SIG_EXPORT;
    if (is_number(matcher->matcher_type))
        return matcher_register_number(matcher, data, *item_id);
    if (!is_stream(matcher->matcher_type))
        return PDATA_ERR_INVALID_ARGUMENT;
    if (data.pattern_offset != 0)
        return matcher_register_stream_offset(matcher, data, *item_id, info);
    return matcher_register_stream(matcher, data, *item_id, info);
}

pdata_status_t matcher_finalize(matcher_build *matcher)
{
    if (is_number(matcher->matcher_type))
        return number_status(number_finalize(matcher->number));
    if (is_stream(matcher->matcher_type))
        return stream_status(pattern_finalize(matcher->pattern));
    return PDATA_ERR_INVALID_ARGUMENT;
}

pdata_status_t matcher_emit(const matcher_build &matcher, tlv_sink_t &sink)
{
    matcher_serialize_meta(matcher, sink);
    return is_stream(matcher.matcher_type) ? matcher_serialize_stream(matcher, sink)
                                           : matcher_serialize_number(matcher, sink);
}

pdata_status_t matcher_get_size(const matcher_build &matcher, size_t *size)
{
    tlv_sink_t sink = tlv_sink_counting();
    const pdata_status_t status = matcher_emit(matcher, sink);
    *size = sink.offset;
    return status;
}

pdata_status_t matcher_serialize(const matcher_build &matcher, std::span<uint8_t> buf,
                                 const csa_dump_t &)
{
    size_t size = 0;
    PDATA_TRY(matcher_get_size(matcher, &size));
    if (buf.size() != size)
        return PDATA_ERR_INVALID_ARGUMENT;
    tlv_sink_t sink = tlv_sink_writing(buf);
    return matcher_emit(matcher, sink);
}

void matcher_build_clean(matcher_build *matcher)
{
    pattern_clean(matcher->pattern);
    number_clean(matcher->number);
    *matcher = {};
}
