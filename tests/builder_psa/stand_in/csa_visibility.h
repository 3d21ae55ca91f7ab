/* Stands in for the run-time engine's header when the generated sources are compiled in a test. */
#ifndef CSA_VISIBILITY_H
#define CSA_VISIBILITY_H

#define dpi_data_public
#define csa_align(n) __attribute__((aligned(n)))

#endif
