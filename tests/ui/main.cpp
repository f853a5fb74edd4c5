#include "support/WidgetTestMain.h"

int main(int argc, char** argv) {
    return Tessaly::runWidgetTests(argc, argv);
}
