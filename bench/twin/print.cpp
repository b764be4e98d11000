// What twin.py compares get-config with: printing a configuration with libyang, the best of ten.

#include "checker/model_schema.h"
#include "engine/data/datastore.h"
#include "engine/data/source_file.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <iostream>

int main(int argc, char **argv)
{
    if (argc != 2) {
        return EXIT_FAILURE;
    }
    using Milliseconds = std::chrono::duration<double, std::milli>;
    const auto tree = engine::Datastore::parse(host::model_schema(), engine::read_source(argv[1]));
    Milliseconds best = Milliseconds::max();
    for (int round = 0; round < 10; ++round) {
        const auto start = std::chrono::steady_clock::now();
        char *text = nullptr;
        if (lyd_print_mem(&text, tree.root(), LYD_XML, LYD_PRINT_WITHSIBLINGS | LYD_PRINT_SHRINK) !=
            LY_SUCCESS) {
            return EXIT_FAILURE;
        }
        std::free(text);
        best = std::min<Milliseconds>(best, std::chrono::steady_clock::now() - start);
    }
    std::cout << "{\"ms\": " << best.count() << "}\n";
    return EXIT_SUCCESS;
}
