#include "shell/App.h"
int main() { return qv::RunApp(); }
