// Commits one fault of the kind that a sanitizer build must stop at. A build that lets it pass proves
// nothing with its other tests.

#include <cstdio>
#include <cstring>
#include <limits>
#include <thread>
#include <vector>

namespace {

int heap_overflow(int index) {
    std::vector<int> values(4);
    return values.data()[index + 4];
}

int signed_overflow(int value) {
    return std::numeric_limits<int>::max() - 1 + value;
}

int unguarded_counter = 0;

int data_race() {
    auto count = [] {
        for (int i = 0; i < 100000; ++i)
            ++unguarded_counter;
    };
    std::thread first(count), second(count);
    first.join();
    second.join();
    return unguarded_counter;
}

} // namespace

int main(int argc, char** argv) {
    const char* fault = argc > 1 ? argv[1] : "";
    int result = 0;
    if (!std::strcmp(fault, "heap")) result = heap_overflow(argc);
    if (!std::strcmp(fault, "arithmetic")) result = signed_overflow(argc);
    if (!std::strcmp(fault, "race")) result = data_race();
    std::printf("survived %s with %d\n", fault, result);
    return 0;
}
