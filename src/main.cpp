#include "cli/DWCommandLine.h"

int main(int argc, char* argv[]) { return DWCommandLine::run(argc, argv); }
