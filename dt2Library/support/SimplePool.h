#pragma once

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <list>
#include <map>
#include <utility>
#include <vector>

namespace LUMO_TARO25D {

/// Prints the message on standard output and ends the process, or, with a message handler, throws std::bad_alloc.
[[noreturn]] void poolFailure(const char* message);
void printNumberOfContainers(size_t numBlocks);
/// Asks the system to provide memory now, which is cheaper than page by page at the first touch. Only a hint.
void touchAhead(void* pStart, size_t numBytes, int numThreads);

/// Records taken from a pool in one call: contiguous, except where a block ends.
template <class T>
class PoolRange {
  public:
    size_t size() const { return size_; }
    T* operator[](size_t i) const {
        size_t k = vPieces_.size() - 1;
        while (i < vPieces_[k].first) --k;
        return vPieces_[k].second + (i - vPieces_[k].first);
    }
    void append(T* pPiece, size_t n) {
        vPieces_.emplace_back(size_, pPiece);
        size_ += n;
    }

  private:
    std::vector<std::pair<size_t, T*>> vPieces_;  // the index of the first record, and its address
    size_t size_ = 0;
};

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
        for (T* pBlock : blocks_) release(pBlock);
        std::free(pSlab_);
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

    /// Appends a block of n records, capped at the maximum; unused records of the newest block are given up. A negative
    /// n is automatic growth: half the size of the first block (that size came from the client's estimate, which is
    /// expected to be exceeded a little), then twice the newest block each time.
    void alloc(int n) {
        if (n < 0) n = automaticSize();
        if (n > maxBlockSize_) n = maxBlockSize_;
        if (!blockSizes_.empty()) blockSizes_.back() = nextIdx_ + 1;
        numBefore_ += static_cast<size_t>(nextIdx_ + 1);
        blockSizes_.push_back(n);
        T* pBlock = static_cast<T*>(std::malloc(sizeof(T) * static_cast<size_t>(n)));
        if (!pBlock) poolFailure("SimplePool::alloc(..), ERROR: Out of memory");
        blocks_.push_back(pBlock);
        pCurrent_ = pBlock;
        nextIdx_ = -1;
        currentSize_ = n;
        bUntouched_ = false;
    }

    /// Releases all blocks except the first, and starts again at its beginning.
    void reset() {
        while (blocks_.size() > 1) {
            release(blocks_.back());
            blocks_.pop_back();
        }
        blockSizes_.resize(1);
        pCurrent_ = blocks_.front();
        nextIdx_ = -1;
        currentSize_ = blockSizes_.front();
        numBefore_ = 0;
    }

    /// Takes back the records handed out after the first n; blocks that have no others are released.
    void takeBack(size_t n) {
        while (blocks_.size() > 1 && numBefore_ >= n) {
            release(blocks_.back());
            blocks_.pop_back();
            blockSizes_.pop_back();
            numBefore_ -= static_cast<size_t>(blockSizes_.back());
        }
        pCurrent_ = blocks_.back();
        currentSize_ = blockSizes_.back();
        nextIdx_ = static_cast<int>(n - numBefore_) - 1;
        growthSize_ = -1;
        touchSize_ = 0;
    }

    /// Replaces the blocks, which must be unused, by blocks for as many records as another pool has handed out. The
    /// records have the other pool's order, and so have their addresses; all of them count as handed out. Their memory
    /// is provided on several threads.
    void layOutLike(const SimplePool& other, int numTouchThreads) {
        const size_t numRecords = other.getNumElements();
        if (numRecords == 0) return;
        for (T* pBlock : blocks_) release(pBlock);
        blocks_.clear();
        blockSizes_.clear();
        pSlab_ = static_cast<T*>(std::malloc(sizeof(T) * numRecords));
        if (!pSlab_) poolFailure("SimplePool::layOutLike(..), ERROR: Out of memory");
        slabSize_ = numRecords;
        touchAhead(pSlab_, sizeof(T) * numRecords, numTouchThreads);
        std::map<const T*, size_t, std::less<>> mSizes;  // by address
        other.forEachBlock([&mSizes](const T* pBlock, size_t numTaken) { mSizes[pBlock] = numTaken; });
        size_t begin = 0;
        for (auto& [pBlock, place] : mSizes) begin += std::exchange(place, begin);
        other.forEachBlock([&](const T* pBlock, size_t numTaken) {
            if (numTaken == 0) return;
            blocks_.push_back(pSlab_ + mSizes[pBlock]);
            blockSizes_.push_back(static_cast<int>(numTaken));
        });
        pCurrent_ = blocks_.back();
        currentSize_ = blockSizes_.back();
        nextIdx_ = currentSize_ - 1;
        numBefore_ = numRecords - static_cast<size_t>(currentSize_);
        bUntouched_ = false;
    }

    /// The next record.
    T* getElement() {
        if (nextIdx_ + 1 == currentSize_) grow();
        ++nextIdx_;
        return pCurrent_ + nextIdx_;
    }

    /// The next n records.
    PoolRange<T> getElements(size_t n) {
        PoolRange<T> range;
        while (range.size() < n) {
            if (nextIdx_ + 1 == currentSize_) grow();
            const size_t numLeft = static_cast<size_t>(currentSize_ - nextIdx_ - 1);
            const size_t numTaken = std::min(numLeft, n - range.size());
            range.append(pCurrent_ + nextIdx_ + 1, numTaken);
            nextIdx_ += static_cast<int>(numTaken);
        }
        return range;
    }

    /// Announces that n records will be wanted soon, so that the next block holds all of them. The block has at least
    /// half as many records as the pool, so repeated small announcements make few blocks. With numTouchThreads > 0
    /// these threads touch the memory of those records when the block is allocated.
    void expect(size_t n, int numTouchThreads = 0) {
        const size_t numLeft = static_cast<size_t>(currentSize_ - nextIdx_ - 1);
        if (n > numLeft) {
            const size_t size = std::max(n - numLeft, getNumElements() / 2);
            growthSize_ = static_cast<int>(std::min(size, static_cast<size_t>(maxBlockSize_)));
            touchSize_ = numTouchThreads > 0 ? n - numLeft : 0;
            numTouchThreads_ = numTouchThreads;
        }
    }

    /// Calls f for every record handed out so far, in that order.
    template <class F>
    void forEach(const F& f) const {
        forEachBlock([&f](T* pBlock, size_t numTaken) {
            for (size_t i = 0; i < numTaken; ++i) f(pBlock + i);
        });
    }
    /// Calls f for every block, with the number of records that were handed out from it.
    template <class F>
    void forEachBlock(const F& f) const {
        auto size = blockSizes_.begin();
        for (T* pBlock : blocks_) {
            f(pBlock, static_cast<size_t>(pBlock == pCurrent_ ? nextIdx_ + 1 : *size));
            ++size;
        }
    }

    /// The number of records handed out so far.
    size_t getNumElements() const { return numBefore_ + static_cast<size_t>(nextIdx_ + 1); }

    const std::list<int>& getBlockSizes() const { return blockSizes_; }

  private:
    int automaticSize() const {
        const int s = currentSize_;
        if (blocks_.size() == 1) return s / 2 > 0 ? s / 2 : s;
        return s <= maxBlockSize_ / 2 ? 2 * s : maxBlockSize_;
    }

    /// Frees a block, unless it is a part of the slab.
    void release(T* pBlock) {
        const std::less<> less;
        if (!pSlab_ || less(pBlock, pSlab_) || !less(pBlock, pSlab_ + slabSize_)) std::free(pBlock);
    }

    void grow() {
        alloc(growthSize_);
        growthSize_ = -1;
        const size_t numTouched = std::min(touchSize_, static_cast<size_t>(currentSize_));
        touchSize_ -= numTouched;
        if (numTouched > 0) touchAhead(pCurrent_, numTouched * sizeof(T), numTouchThreads_);
    }

    std::list<T*> blocks_;
    std::list<int> blockSizes_;
    T* pSlab_ = nullptr;  // the memory of several blocks, if it was taken in one piece
    size_t slabSize_ = 0;
    T* pCurrent_ = nullptr;
    int nextIdx_ = -1;
    int currentSize_ = 0;
    bool bInitialized_ = false;
    bool bUntouched_ = false;  // no block was added since initialisation
    int growthSize_ = -1;      // passed to alloc by automatic growth
    int numTouchThreads_ = 0;
    size_t touchSize_ = 0;  // records of the next blocks that are certainly wanted
    size_t numBefore_ = 0;  // records handed out from the blocks before the newest
    int maxBlockSize_ = 0;
};

/// Records for one operation, taken in advance: first recycled records, then fresh ones from the pool. Not initialised.
template <class T>
class RecordSupply {
  public:
    RecordSupply() = default;
    RecordSupply(SimplePool<T>& pool, std::vector<T*>& vRecycled, size_t n) {
        const size_t numReused = std::min(n, vRecycled.size());
        vReused_.assign(vRecycled.end() - static_cast<std::ptrdiff_t>(numReused), vRecycled.end());
        vRecycled.resize(vRecycled.size() - numReused);
        fresh_ = pool.getElements(n - numReused);
    }

    size_t size() const { return vReused_.size() + fresh_.size(); }
    T* operator[](size_t i) const { return i < vReused_.size() ? vReused_[i] : fresh_[i - vReused_.size()]; }

  private:
    std::vector<T*> vReused_;
    PoolRange<T> fresh_;
};

}  // namespace LUMO_TARO25D
