#pragma once

#include <condition_variable>
#include <deque>
#include <exception>
#include <mutex>
#include <thread>
#include <vector>

#include "foundation/Vx/Allocator.h"
#include "foundation/Vx/IllegalArgumentException.h"

namespace Larkspan::Archive {

/// Throws `Vx::IllegalArgumentException` for no job.
[[nodiscard]] inline unsigned int CheckedJobs(unsigned int jobs) {
  if (jobs == 0) {
    throw Vx::IllegalArgumentException("Invalid number of jobs: number is 0.", __FILE__, __LINE__);
  }
  return jobs;
}

/// Does tasks side by side on threads, and gives them back in the order in which they were put in.
/// `Worker` is made once for each thread, and its `Do(Task&)` throws nothing. All operations belong
/// to one thread.
template <class Task, class Worker>
class OrderedTasks final {
 public:
  /// One job is done by the caller's own thread, in `Put`. Where the system refuses threads, there
  /// are fewer of them. Each worker is made of `arguments`.
  template <class... Arguments>
  explicit OrderedTasks(unsigned int jobs, const Arguments&... arguments)
      : ownWorker(arguments...) {
    if (jobs < 2) return;
    threads.reserve(jobs);
    try {
      for (unsigned int index = 0; index < jobs; ++index) {
        threads.emplace_back([this, arguments...] {
          Worker worker(arguments...);
          Run(worker);
        });
      }
    } catch (const std::exception&) {
      // The threads that could be started do it all; without any, the caller's does.
    }
  }
  OrderedTasks(const OrderedTasks&) = delete;
  OrderedTasks& operator=(const OrderedTasks&) = delete;
  /// Drops the tasks that no thread has begun, and waits for the others.
  ~OrderedTasks() {
    {
      const std::lock_guard lock(mutex);
      stopping = true;
    }
    waiting.notify_all();
    for (std::thread& thread : threads) thread.join();
  }

  /// `task` stays the caller's, who leaves it alone until it is given back.
  void Put(Task& task) {
    if (threads.empty()) {
      ownWorker.Do(task);
      tasks.push_back({&task, true});
      return;
    }
    {
      const std::lock_guard lock(mutex);
      tasks.push_back({&task, false});
    }
    waiting.notify_one();
  }

  [[nodiscard]] bool IsEmpty() const noexcept { return tasks.empty(); }

  /// Waits until the oldest task is done, and gives it back. There must be one.
  [[nodiscard]] Task& Take() {
    std::unique_lock lock(mutex);
    finished.wait(lock, [this] { return tasks.front().isDone; });
    return TakeFront();
  }

  /// The same without waiting: null if there is none that is done.
  [[nodiscard]] Task* TryTake() {
    const std::lock_guard lock(mutex);
    if (tasks.empty() || !tasks.front().isDone) return nullptr;
    return &TakeFront();
  }

 private:
  struct Place {
    Task* task;
    bool isDone;
  };

  Task& TakeFront() {
    Task& task = *tasks.front().task;
    tasks.pop_front();
    ++taken;
    return task;
  }

  void Run(Worker& worker) {
    std::unique_lock lock(mutex);
    for (;;) {
      waiting.wait(lock, [this] { return stopping || begun < taken + tasks.size(); });
      if (stopping) return;
      const std::size_t number = begun++;
      Task& task = *tasks[number - taken].task;
      lock.unlock();
      worker.Do(task);
      lock.lock();
      tasks[number - taken].isDone = true;
      if (number == taken) finished.notify_one();
    }
  }

  std::mutex mutex;
  std::condition_variable waiting;
  std::condition_variable finished;
  // Tasks are numbered from 0 on, and the oldest one that is here has the number `taken`.
  std::deque<Place, Vx::Allocator<Place>> tasks;
  std::size_t taken = 0;
  std::size_t begun = 0;
  bool stopping = false;
  Worker ownWorker;
  std::vector<std::thread, Vx::Allocator<std::thread>> threads;
};

}  // namespace Larkspan::Archive
