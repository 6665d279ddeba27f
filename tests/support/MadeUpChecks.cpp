#include "tests/support/MadeUpChecks.h"

#include <array>
#include <unistd.h>

using namespace storage::host;

std::span<const CheckGroup> madeUpChecks() {
    static const std::array letters{
        Check{"1.1", "letters.kept", "A is a letter.", Profile::AnyProvider, [](CheckContext&) {}},
        Check{"1.2", "letters.broken", "B comes after A.", Profile::AnyProvider,
              [](CheckContext&) { throw RuleBroken("B comes <before> A"); }},
        Check{"1.3", "letters.skipped", "C is a letter.", Profile::AnyProvider,
              [](CheckContext&) { throw CheckSkipped("no C here"); }},
    };
    static const std::array numbers{
        Check{"2.1", "numbers.kept", "1 is a number.", Profile::InMemoryProvider, [](CheckContext&) {}},
        Check{"2.2", "numbers.crash", "2 is even.", Profile::AnyProvider,
              [](CheckContext&) {
                  static_cast<void>(::write(STDOUT_FILENO, "last\x01words\nof 2\n", 16));
                  ::_exit(3);
              }},
    };
    static const std::array groups{CheckGroup{1, "Letters", letters, "They are *ordered*."},
                                   CheckGroup{2, "Numbers", numbers, "They are not."}};
    return groups;
}
