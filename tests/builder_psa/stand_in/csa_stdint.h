/* Stands in for the run-time engine's header when the generated sources are compiled in a test. */
#ifndef CSA_STDINT_H
#define CSA_STDINT_H

#include <stdint.h>

typedef uint8_t csa_uint8;
typedef uint32_t csa_uint32;

#endif
