// The same program in the other language.
#include "print_document.c"
