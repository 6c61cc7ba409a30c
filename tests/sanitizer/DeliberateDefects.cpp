// One defect a word, for each kind of check of the PE build (checked-build.sh): each must be reported, or the checks
// have gone blind. "none" has none.

#include <climits>
#include <cstdio>
#include <string_view>
#include <vector>

int main(int argumentCount, char **arguments) {
    const std::string_view defect = argumentCount > 1 ? arguments[1] : "";
    volatile int number = INT_MAX;
    std::vector<int> numbers(3);
    volatile size_t index = numbers.size();
    if (defect == "overflow")
        number = number + 1;
    else if (defect == "index")
        number = numbers[index]; // cppcheck-suppress containerOutOfBounds ; the defect
    else if (defect == "iterator") {
        const auto first = numbers.begin();
        numbers.push_back(static_cast<int>(index));
        number = *first;
    }
    std::puts("at its end");
    return 0;
}
