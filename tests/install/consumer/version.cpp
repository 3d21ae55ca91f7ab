// The C++ wrapper, as another project sees it.
#include <pdata.hpp>

#include <cstdio>

int main()
{
    std::puts(pdata_version());
    return 0;
}
