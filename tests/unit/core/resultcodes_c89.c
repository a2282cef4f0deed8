/* The codes are for callers in C, too, and the oldest C will do. */
#include "api/resultcodes.h"

int successInC(void);

int successInC(void)
{
    return BRIVANE_REPORT_OK;
}
