#include "ui/UiApp.h"

int main(int argc, char** argv) {
    return tpc::ui::runApplication(argc, argv);
}
