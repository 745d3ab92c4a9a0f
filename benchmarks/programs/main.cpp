#include "Contestant.h"

int main(int argc, char **argv)
{
    return zel::bench::play(argc, argv);
}
