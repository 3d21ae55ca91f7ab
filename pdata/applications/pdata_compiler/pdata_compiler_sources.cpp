#include "pdata_compiler_sources.h"

#include "pdata_compiler_files.h"
#include "pdata_serialize_ipbt.h"

pdata_status_t pdata_compiler_psa(const pdata_cfg_t *)
{
    return PDATA_SUCCESS;
}

pdata_status_t pdata_compiler_ipbt(const pdata_cfg_t *cfg)
{
    text_stream_t src = {{}, IPBT_SOURCE_SIZE};
    text_stream_t hdr = {{}, IPBT_HEADER_SIZE};
    pdata_status_t status = pdata_serialize_ipbt(cfg, &src, &hdr);
    if (status == PDATA_SUCCESS)
        status = pdata_compiler_write("ipbt_serialization.c", src.text.c_str());
    if (status == PDATA_SUCCESS)
        status = pdata_compiler_write("ipbt_serialization.h", hdr.text.c_str());
    return status;
}
