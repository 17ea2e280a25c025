#include "cli/program.h"

int main(int argc, char** argv) { return tagwick::runProgram(argc, argv); }
