#include "commands/Program.h"

int main(int argc, char** argv)
{
    return veld::cli::run_program(argc, argv);
}
