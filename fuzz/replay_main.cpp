/** Runs a fuzzer's function over the files of the folders and files that are named, once each. */
#include <cstddef>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <stdexcept>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);
/** A fuzzer may go without. */
extern "C" __attribute__((weak)) int LLVMFuzzerInitialize(int *argc, char ***argv);

namespace
{

namespace fs = std::filesystem;

void run(const fs::path &file)
{
    // Before it runs: an input that ends the process is known by its name.
    std::cout << file.filename().string() << std::endl;
    std::ifstream in(file, std::ios::binary);
    std::vector<std::uint8_t> bytes{std::istreambuf_iterator<char>(in), {}};
    if (in.bad() || !in.is_open()) {
        throw std::runtime_error(file.string() + " cannot be read");
    }
    // Exactly as long as the input, so that a sanitizer sees what is read behind it.
    bytes.shrink_to_fit();
    LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
}

int run_all(const fs::path &place)
{
    if (!fs::is_directory(place)) {
        run(place);
        return 1;
    }
    int count = 0;
    for (const auto &entry : fs::directory_iterator(place)) {
        run(entry.path());
        ++count;
    }
    return count;
}

} // namespace

int main(int argc, char **argv)
{
    try {
        if (LLVMFuzzerInitialize != nullptr) {
            LLVMFuzzerInitialize(&argc, &argv);
        }
        int count = 0;
        for (int i = 1; i < argc; ++i) {
            count += run_all(argv[i]);
        }
        std::cout << count << " inputs executed\n";
        return count > 0 ? 0 : 1;
    } catch (const std::exception &failure) {
        std::cerr << failure.what() << '\n';
        return 1;
    }
}
