#pragma once

// Reading and writing of files of triangulations, in the byte order of the machine. A wrong count in a file cannot make
// the reader allocate much: counts are compared with the length of the file first, and a pipe is read in steps.

#include <sys/stat.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <string>

#include "kernel/tools.h"
#include "support/LargeVector.h"
#include "support/stopping.h"
#include "taro25d/Point2.h"

namespace LUMO_TARO25D {

class Writer {
  public:
    explicit Writer(std::FILE* pFile) : pFile_(pFile) {}

    template <class T>
    void write(const T& value) {
        bWell_ = bWell_ && std::fwrite(&value, sizeof(value), 1, pFile_) == 1;
    }
    /// A height that is not finite, as a client may have set it, is a failure, since the reader would refuse it.
    void write(const Point2& point) {
        bWell_ = bWell_ && isFinite(point);
        write(point.x());
        write(point.y());
        write(point.z());
    }
    void write(const std::string& text) {
        write(std::uint64_t(text.size()));
        bWell_ = bWell_ && std::fwrite(text.data(), 1, text.size(), pFile_) == text.size();
    }
    /// Whether everything has been written.
    bool finish() { return bWell_ && std::fflush(pFile_) == 0; }

  private:
    std::FILE* pFile_;
    bool bWell_ = true;
};

class Reader {
  public:
    explicit Reader(std::FILE* pFile) : pFile_(pFile) {
        struct stat info {};
        bLengthKnown_ = fstat(fileno(pFile), &info) == 0 && S_ISREG(info.st_mode) && info.st_size > 0;
        numBytesLeft_ = bLengthKnown_ ? static_cast<std::uint64_t>(info.st_size) : MAX_LENGTH;
    }

    template <class T>
    bool read(T& value) {
        return readBytes(&value, sizeof(value));
    }
    /// Reads a count and that number of records; false unless they are complete and all numbers are finite.
    bool readRecords(size_t numPerRecord, LargeVector<double>& vNumbers) {
        std::uint64_t numRecords = 0;
        if (!read(numRecords) || numRecords > numBytesLeft_ / (numPerRecord * sizeof(double))) return false;
        if (bLengthKnown_) vNumbers.reserve(numRecords * numPerRecord);
        while (numRecords > 0) {
            throwIfStopped();
            const size_t numInStep = std::min<std::uint64_t>(numRecords, RECORDS_PER_STEP);
            if (!readNumbers(numInStep * numPerRecord, vNumbers)) return false;
            numRecords -= numInStep;
        }
        return true;
    }
    /// Reads num values of type T, each sizeof(T) bytes.
    template <class T>
    bool readValues(std::uint64_t num, LargeVector<T>& vValues) {
        if (num > numBytesLeft_ / sizeof(T)) return false;
        while (num > 0) {
            throwIfStopped();
            const size_t numInStep = std::min<std::uint64_t>(num, RECORDS_PER_STEP), numBefore = vValues.size();
            vValues.resize(numBefore + numInStep);
            if (!readBytes(vValues.data() + numBefore, numInStep * sizeof(T))) return false;
            num -= numInStep;
        }
        return true;
    }
    bool readText(std::string& text) {
        std::uint64_t length = 0;
        LargeVector<char> vText;
        if (!read(length) || !readValues(length, vText)) return false;
        text.assign(vText.begin(), vText.end());
        return true;
    }
    bool isAtEnd() { return std::fgetc(pFile_) == EOF && !std::ferror(pFile_); }

  private:
    static constexpr std::uint64_t MAX_LENGTH = std::numeric_limits<std::uint64_t>::max();
    static constexpr size_t RECORDS_PER_STEP = 1 << 14;

    bool readBytes(void* pBytes, size_t numBytes) {
        if (numBytes > numBytesLeft_ || std::fread(pBytes, 1, numBytes, pFile_) != numBytes) return false;
        numBytesLeft_ -= numBytes;
        return true;
    }
    bool readNumbers(size_t n, LargeVector<double>& vNumbers) {
        vNumbers.resize(vNumbers.size() + n);
        double *const pEnd = vNumbers.data() + vNumbers.size(), *const pBegin = pEnd - n;
        return readBytes(pBegin, n * sizeof(double)) &&
               std::all_of(pBegin, pEnd, [](double number) { return std::isfinite(number); });
    }

    std::FILE* pFile_;
    bool bLengthKnown_;
    std::uint64_t numBytesLeft_;
};

}  // namespace LUMO_TARO25D
