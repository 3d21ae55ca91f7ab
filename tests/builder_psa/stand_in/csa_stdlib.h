/* Stands in for the run-time engine's header when the generated sources are compiled in a test. */
#ifndef CSA_STDLIB_H
#define CSA_STDLIB_H

#include <stdlib.h>

#endif
