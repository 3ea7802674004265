#include "app/cli/mpi_group.h"

#include <mpi.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <stdexcept>
#include <string>

namespace tessel::cli {

namespace {

// MPI counts are ints: blobs travel in pieces of at most this many bytes.
constexpr std::size_t kPiece = std::size_t{1} << 30;

void Check(int code, const char* what) {
  if (code != MPI_SUCCESS) throw std::runtime_error(std::string("MPI ") + what + " failed");
}

void SendBlob(const std::string& blob, int to) {
  std::uint64_t size = blob.size();
  Check(MPI_Send(&size, 1, MPI_UINT64_T, to, 0, MPI_COMM_WORLD), "send");
  for (std::size_t at = 0; at < blob.size(); at += kPiece) {
    const int n = static_cast<int>(std::min(kPiece, blob.size() - at));
    Check(MPI_Send(blob.data() + at, n, MPI_BYTE, to, 1, MPI_COMM_WORLD), "send");
  }
}

std::string ReceiveBlob(int from) {
  std::uint64_t size = 0;
  Check(MPI_Recv(&size, 1, MPI_UINT64_T, from, 0, MPI_COMM_WORLD, MPI_STATUS_IGNORE), "receive");
  std::string blob(size, '\0');
  for (std::size_t at = 0; at < blob.size(); at += kPiece) {
    const int n = static_cast<int>(std::min(kPiece, blob.size() - at));
    Check(MPI_Recv(blob.data() + at, n, MPI_BYTE, from, 1, MPI_COMM_WORLD, MPI_STATUS_IGNORE),
          "receive");
  }
  return blob;
}

class MpiGroup final : public RankGroup {
 public:
  MpiGroup() {
    MPI_Comm_rank(MPI_COMM_WORLD, &rank_);
    MPI_Comm_size(MPI_COMM_WORLD, &size_);
  }
  int rank() const override { return rank_; }
  int size() const override { return size_; }

  // Rank 0 receives from each rank in turn, so it holds the blobs and nothing more.
  std::vector<std::string> gather(std::string blob) override {
    if (rank_ != 0) {
      SendBlob(blob, 0);
      return {};
    }
    std::vector<std::string> all;
    all.reserve(static_cast<std::size_t>(size_));
    all.push_back(std::move(blob));
    for (int r = 1; r < size_; ++r) all.push_back(ReceiveBlob(r));
    return all;
  }

  void broadcast(std::string& blob) override {
    std::uint64_t size = blob.size();
    Check(MPI_Bcast(&size, 1, MPI_UINT64_T, 0, MPI_COMM_WORLD), "broadcast");
    blob.resize(size);
    for (std::size_t at = 0; at < blob.size(); at += kPiece) {
      const int n = static_cast<int>(std::min(kPiece, blob.size() - at));
      Check(MPI_Bcast(blob.data() + at, n, MPI_BYTE, 0, MPI_COMM_WORLD), "broadcast");
    }
  }

 private:
  int rank_ = 0;
  int size_ = 1;
};

}  // namespace

MpiSession::MpiSession(int* argc, char*** argv) {
  int provided = 0;
  MPI_Init_thread(argc, argv, MPI_THREAD_FUNNELED, &provided);
  // Failures are reported through the group's status exchange, not by MPI aborting.
  MPI_Comm_set_errhandler(MPI_COMM_WORLD, MPI_ERRORS_RETURN);
  group_ = std::make_unique<MpiGroup>();
}

MpiSession::~MpiSession() {
  group_.reset();
  MPI_Finalize();
}

}  // namespace tessel::cli
