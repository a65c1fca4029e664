#include <cstdio>

int main(int argc, char** argv) {
    std::puts("velquino " VELQ_VERSION);
    return 0;
}
