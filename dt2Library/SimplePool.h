#pragma once

#include <list>
#include <numeric>

#include "LargePages.h"

namespace LUMO_TARO25D {

/// Prints the message on standard output and ends the process: without memory for records nothing can go on.
[[noreturn]] void poolFailure(const char* message);
void printNumberOfContainers(size_t numBlocks);

/// Hands out records from large blocks, in order, and releases all of them at once when it is destroyed.
/// Records are not constructed: the caller writes every field. Single-threaded.
template <class T>
class SimplePool {
  public:
    SimplePool() = default;
    SimplePool(const SimplePool&) = delete;
    SimplePool& operator=(const SimplePool&) = delete;
    ~SimplePool() {
        if (blocks_.size() > 1000) printNumberOfContainers(blocks_.size());
        for (T* pBlock : blocks_) freeLargePages(pBlock);
        bUntouched_ = true;
    }

    /// Allocates the first block. An initialised pool may not be initialised again.
    void init(int initialBlockSize, int maxBlockSize) {
        if (bInitialized_) poolFailure("SimplePool::init(..), ERROR: This pool is already initialized");
        bInitialized_ = true;
        maxBlockSize_ = maxBlockSize;
        alloc(initialBlockSize);
        bUntouched_ = true;
    }

    /// Appends a block of n records, capped at the maximum; what is left of the newest block is cut off. A
    /// negative n is automatic growth: half of the first block (its size came from the client's estimate,
    /// which is expected to be exceeded a little), then double the newest one each time.
    void alloc(int n) {
        if (n < 0) n = automaticSize();
        if (n > maxBlockSize_) n = maxBlockSize_;
        if (!blockSizes_.empty()) blockSizes_.back() = nextIdx_ + 1;
        blockSizes_.push_back(n);
        T* pBlock = static_cast<T*>(allocateOnLargePages(sizeof(T) * static_cast<size_t>(n)));
        if (!pBlock) poolFailure("SimplePool::alloc(..), ERROR: Out of memory");
        blocks_.push_back(pBlock);
        pCurrent_ = pBlock;
        nextIdx_ = -1;
        currentSize_ = n;
        bUntouched_ = false;
    }

    /// The next record.
    T* getElement() {
        if (nextIdx_ + 1 == currentSize_) grow();
        ++nextIdx_;
        return pCurrent_ + nextIdx_;
    }

    /// Announces that about n more records will be wanted, so that the next block is made to measure.
    void expect(size_t n) {
        const size_t numLeft = static_cast<size_t>(currentSize_ - nextIdx_ - 1);
        if (n <= numLeft) return;
        const size_t numMissing = n - numLeft;
        growthSize_ =
            numMissing < static_cast<size_t>(maxBlockSize_) ? static_cast<int>(numMissing) : maxBlockSize_;
    }

    /// Calls f for every record handed out so far, in that order.
    template <class F>
    void forEach(const F& f) const {
        auto size = blockSizes_.begin();
        for (T* pBlock : blocks_) {
            const int numTaken = pBlock == pCurrent_ ? nextIdx_ + 1 : *size;
            for (int i = 0; i < numTaken; ++i) f(pBlock + i);
            ++size;
        }
    }

    /// The number of records handed out so far.
    size_t getNumElements() const {
        const size_t numAllocated = std::accumulate(blockSizes_.begin(), blockSizes_.end(), size_t(0));
        return numAllocated - static_cast<size_t>(currentSize_ - nextIdx_ - 1);
    }

    const std::list<int>& getBlockSizes() const { return blockSizes_; }

  private:
    int automaticSize() const {
        const int s = currentSize_;
        if (blocks_.size() == 1) return s / 2 > 0 ? s / 2 : s;
        return s <= maxBlockSize_ / 2 ? 2 * s : maxBlockSize_;
    }

    void grow() {
        alloc(growthSize_);
        growthSize_ = -1;
    }

    std::list<T*> blocks_;
    std::list<int> blockSizes_;
    T* pCurrent_ = nullptr;
    int nextIdx_ = -1;
    int currentSize_ = 0;
    bool bInitialized_ = false;
    bool bUntouched_ = false;  // no block was added since initialisation
    int growthSize_ = -1;      // what automatic growth passes to alloc
    int maxBlockSize_ = 0;
};

}  // namespace LUMO_TARO25D
