/** Times what a worker of a fleet cannot do without: a checker for each card, in one process.
 *
 *  usage: open_checkers CARD EDIT COUNT RUNNING...      Prints seconds.
 */
#include "checker/checker.h"
#include "checker/model_schema.h"

#include <chrono>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <vector>

namespace
{

void check(const std::vector<const char *> &words)
{
    constexpr std::size_t kFirstRunning = 4;
    host::model_schema();
    host::CheckListener nobody;
    const auto count = std::strtoul(words[3], nullptr, 10);
    const auto start = std::chrono::steady_clock::now();
    for (std::size_t i = 0; i < count; ++i) {
        const auto *running = words[kFirstRunning + i % (words.size() - kFirstRunning)];
        host::Checker checker(fm::parse_card(engine::read_source(words[1]).text),
                              engine::read_source(running), "");
        const host::Change change{host::ChangeForm::kEdit, engine::read_source(words[2])};
        if (const auto outcome = checker.check(change, {}, nobody); !outcome.problems.empty()) {
            throw std::runtime_error(outcome.problems.front().message);
        }
    }
    std::cout << std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count()
              << '\n';
}

} // namespace

int main(int argc, char **argv)
{
    try {
        check(std::vector<const char *>(argv, argv + argc));
        return EXIT_SUCCESS;
    } catch (const std::exception &failure) {
        std::cerr << failure.what() << '\n';
        return EXIT_FAILURE;
    }
}
