#pragma once

#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>

#include "Model.h"

namespace bench {

/// delatin in a process of Node.js (delatin.mjs), which keeps the grid and makes one model after the other.
class DelatinPeer {
  public:
    /// Starts the process. Throws NoPeer where Node.js or the package is missing.
    explicit DelatinPeer(const Grid& grid) : grid_(grid) {
        int aSockets[2];
        if (socketpair(AF_UNIX, SOCK_STREAM, 0, aSockets) != 0) throw std::runtime_error("no sockets");
        child_ = fork();
        if (child_ == 0) {
            dup2(aSockets[1], STDIN_FILENO);
            dup2(aSockets[1], STDOUT_FILENO);
            close(aSockets[0]);
            close(aSockets[1]);
            execlp("node", "node", TARO25D_BENCH_DIR "/models/delatin.mjs", nullptr);
            _exit(1);
        }
        close(aSockets[1]);
        std::signal(SIGPIPE, SIG_IGN);
        pIn_ = fdopen(aSockets[0], "r");
        pOut_ = fdopen(dup(aSockets[0]), "w");
        std::fprintf(pOut_, "%zu\n%zu\n", grid.numColumns, grid.vPoints.size() / grid.numColumns);
        for (const Point2& point : grid.vPoints) std::fprintf(pOut_, "%.17g\n", point.z());
    }
    DelatinPeer(const DelatinPeer&) = delete;
    DelatinPeer& operator=(const DelatinPeer&) = delete;
    ~DelatinPeer() {
        std::fclose(pIn_);
        std::fclose(pOut_);
        kill(child_, SIGKILL);
        waitpid(child_, nullptr, 0);
    }

    Model make(double limit) {
        std::fprintf(pOut_, "%.17g\n", limit);
        std::fflush(pOut_);
        Model model;
        std::size_t numTriangles = 0;
        if (std::fscanf(pIn_, "%lf %lf %zu %zu", &model.cpu, &model.wall, &model.numVertices, &numTriangles) != 4)
            throw NoPeer("delatin does not run: it needs Node.js, and npm ci in " TARO25D_BENCH_DIR);
        std::vector<std::size_t> vPlaces;
        for (std::size_t i = 0; i < model.numVertices; ++i) {
            const std::size_t column = readNumber();
            vPlaces.push_back(readNumber() * grid_.numColumns + column);
        }
        for (std::size_t i = 0; i < 3 * numTriangles; ++i)
            model.vCorners.push_back(grid_.vPoints.at(vPlaces.at(readNumber())));
        return model;
    }

  private:
    std::size_t readNumber() {
        std::size_t number = 0;
        if (std::fscanf(pIn_, "%zu", &number) != 1) throw std::runtime_error("delatin's answer is cut short");
        return number;
    }

    const Grid& grid_;
    pid_t child_;
    FILE *pIn_ = nullptr, *pOut_ = nullptr;
};

}  // namespace bench
