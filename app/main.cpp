#include "app/app_main.h"

int main() {
    return korvex_orvel_main();
}
