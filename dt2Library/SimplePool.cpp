#include "SimplePool.h"

#include <cstdlib>
#include <iostream>

namespace LUMO_TARO25D {

void poolFailure(const char* message) {
    std::cout << message << std::endl;
    std::exit(EXIT_FAILURE);
}

void printNumberOfContainers(size_t numBlocks) {
    std::cout << "SimplePool::~SimplePool: Number of containers to release: " << numBlocks << std::endl;
}

}  // namespace LUMO_TARO25D
