// The MPI side of tessel-mpi: the only code that calls MPI. The core sees the ranks through
// RankGroup (util/rank_group.h).
#pragma once

#include <memory>

#include "util/rank_group.h"

namespace tessel::cli {

// Starts MPI for the life of the object (main thread only: the worker threads never call
// MPI) and gives the group of all ranks of the run.
class MpiSession {
 public:
  MpiSession(int* argc, char*** argv);
  ~MpiSession();
  MpiSession(const MpiSession&) = delete;
  MpiSession& operator=(const MpiSession&) = delete;

  RankGroup& group() { return *group_; }

 private:
  std::unique_ptr<RankGroup> group_;
};

}  // namespace tessel::cli
