#include "cli/CliApp.h"

int main(int argc, char** argv) {
    return tpc::cli::run(argc, argv);
}
