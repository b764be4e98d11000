/**
 * Runs a fuzzer's function over the files of the folders and files that are named, once each; or,
 * with `--random SEED COUNT`, over made-up inputs.
 */
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <random>
#include <stdexcept>
#include <string>
#include <string_view>
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

/** Made-up inputs: the same for a seed everywhere. */
int run_random(std::uint32_t seed, int count)
{
    constexpr std::uint32_t kMaxSize = 1600;
    std::mt19937 random(seed);
    for (int i = 0; i < count; ++i) {
        std::vector<std::uint8_t> bytes(random() % kMaxSize);
        std::generate(bytes.begin(), bytes.end(),
                      [&random] { return static_cast<std::uint8_t>(random()); });
        LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
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
        if (argc == 4 && std::string_view(argv[1]) == "--random") {
            count = run_random(static_cast<std::uint32_t>(std::stoul(argv[2])), std::stoi(argv[3]));
        } else {
            for (int i = 1; i < argc; ++i) {
                count += run_all(argv[i]);
            }
        }
        std::cout << count << " inputs executed\n";
        return count > 0 ? 0 : 1;
    } catch (const std::exception &failure) {
        std::cerr << failure.what() << '\n';
        return 1;
    }
}
