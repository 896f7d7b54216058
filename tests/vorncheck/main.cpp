#include "Mistakes.h"

int main(int count, char** arguments) { return RunMistake(count, arguments); }
