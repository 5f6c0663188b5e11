#include <iostream>

#include "Cli.h"

int main(int argc, char** argv) { return velmo::cli::runVelmoUtil(argc, argv, std::cout, std::cerr); }
