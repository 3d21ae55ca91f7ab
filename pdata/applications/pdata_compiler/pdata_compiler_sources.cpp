#include "pdata_compiler_sources.h"

#include "pdata_compiler_files.h"
#include "pdata_serialize_ipbt.h"
#include "pdata_serialize_psa.h"

pdata_status_t pdata_compiler_psa(const pdata_cfg_t *cfg)
{
    text_stream_t key = {{}, PSA_KEY_SIZE};
    text_stream_t src = {{}, PSA_SOURCE_SIZE};
    text_stream_t hdr = {{}, PSA_HEADER_SIZE};
    pdata_status_t status = pdata_serialize_psa(cfg, &key, &src, &hdr);
    if (status == PDATA_SUCCESS)
        status = pdata_compiler_write("psa_key.h", key.text.c_str());
    if (status == PDATA_SUCCESS)
        status = pdata_compiler_write("psa_serialization.c", src.text.c_str());
    if (status == PDATA_SUCCESS)
        status = pdata_compiler_write("psa_serialization.h", hdr.text.c_str());
    return status;
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
