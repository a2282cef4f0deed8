// Runs the kept inputs of a fuzz target again: replay FILE...

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

int main(int argc, char **argv)
{
    for (int i = 1; i < argc; ++i) {
        std::ifstream file(argv[i], std::ios::binary);
        if (!file) {
            std::fprintf(stderr, "can't read %s\n", argv[i]);
            return 1;
        }
        const std::vector<char> input{std::istreambuf_iterator<char>(file), {}};
        std::printf("%s\n", argv[i]);
        LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t *>(input.data()), input.size());
    }
    return argc > 1 ? 0 : 1;
}
