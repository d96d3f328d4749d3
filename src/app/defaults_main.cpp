#include <iostream>
#include <string>
#include <vector>

#include "app/defaults_command.h"

int main(int argc, char* argv[]) {
    std::vector<std::string> arguments(argv, argv + argc);
    return tasselby::DefaultsCommand::run(arguments, std::cout, std::cerr);
}
