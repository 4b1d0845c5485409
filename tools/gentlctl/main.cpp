#include "gentlctl/program.h"

int main(int argc, char **argv)
{
    return gentlctl::RunProgram(argc, argv);
}
