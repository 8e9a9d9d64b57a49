#include "headers/InternetHeaders.h"
