// Prints docs/profiles.md.

#include "profile_table.h"

#include <iostream>

int main()
{
    std::cout << GenTL::internal::ProfileTable();
    return std::cout.flush() ? 0 : 1;
}
