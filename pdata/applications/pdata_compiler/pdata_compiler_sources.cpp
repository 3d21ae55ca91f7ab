#include "pdata_compiler_sources.h"

#include "pdata_compiler_files.h"
#include "pdata_serialize_ipbt.h"
#include "pdata_serialize_psa.h"

pdata_status_t pdata_compiler_psa(const pdata_cfg_t *cfg, generated_sources_t &sources)
{
    PDATA_TRY(pdata_serialize_psa(cfg, &sources.psa_key, &sources.psa_src, &sources.psa_hdr));
    output_t &output = sources.output;
    PDATA_TRY(pdata_compiler_write(output, "psa_key.h", sources.psa_key.text.c_str()));
    PDATA_TRY(pdata_compiler_write(output, "psa_serialization.c", sources.psa_src.text.c_str()));
    return pdata_compiler_write(output, "psa_serialization.h", sources.psa_hdr.text.c_str());
}

pdata_status_t pdata_compiler_ipbt(const pdata_cfg_t *cfg, generated_sources_t &sources)
{
    const pdata_status_t status = pdata_serialize_ipbt(cfg, &sources.ipbt_src, &sources.ipbt_hdr);
    // What cannot be generated from its table does not hold back the sources of another one.
    if (status != PDATA_SUCCESS)
        return pdata_output_commit(sources.output, status);
    output_t &output = sources.output;
    PDATA_TRY(pdata_compiler_write(output, "ipbt_serialization.c", sources.ipbt_src.text.c_str()));
    PDATA_TRY(pdata_compiler_write(output, "ipbt_serialization.h", sources.ipbt_hdr.text.c_str()));
    return pdata_output_commit(output, PDATA_SUCCESS);
}
