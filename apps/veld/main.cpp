#include "Program.h"

int main(int argc, char** argv)
{
    return veld::run_program(argc, argv);
}
