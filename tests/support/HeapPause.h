// Marks what the tests' own code takes from the heap.

#ifndef VORN_TESTS_SUPPORT_HEAPPAUSE_H
#define VORN_TESTS_SUPPORT_HEAPPAUSE_H

// While one lives, what its thread takes from the heap is neither counted nor made
// to fail: the fakes are not the library.
class HeapPause {
 public:
  HeapPause() { ++Depth(); }
  ~HeapPause() { --Depth(); }
  HeapPause(const HeapPause&) = delete;
  HeapPause& operator=(const HeapPause&) = delete;

  static bool IsOn() { return Depth() > 0; }

 private:
  static int& Depth() {
    static thread_local int depth = 0;
    return depth;
  }
};

#endif  // VORN_TESTS_SUPPORT_HEAPPAUSE_H
