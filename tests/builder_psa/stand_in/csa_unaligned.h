/* Stands in for the run-time engine's header when the generated sources are compiled in a test. */
#ifndef CSA_UNALIGNED_H
#define CSA_UNALIGNED_H

#endif
