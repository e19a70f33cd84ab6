// A source whose mutation points and their effects are known; mutate_test.py has them. `show`
// prints what it does, and what it prints differs for each change that is not listed as equal.

namespace sample {

void show(const char* text);
void show(int number);

struct ScopedLock {
  explicit ScopedLock(int) { show("locked"); }
  ~ScopedLock() { show("unlocked"); }
};

enum class Answer { kNo, kYes };

constexpr int kLimit = 3;
constexpr char kName[] = "name";
constexpr const char* kTable[] = {"first", "second"};

int limited(int value) {
  if (value < kLimit) return value;
  return kLimit;
}

bool isBetween(int value, bool open) {
  return value > 1 && !open;
}

Answer answerTo(int value) {
  switch (value) {
    case 7:
      return Answer::kYes;
    default:
      return Answer::kNo;
  }
}

void run() {
  show(kName);
  const ScopedLock lock(0);
  // What is moved keeps its text.
  show("one");
  show("two");
  int sum = 1 + 4;
  sum += 2;
  show(sum);
  for (int i = 0; i != 2; ++i) show(kTable[i]);
  show(limited(sum));
  show(limited(2));
  show(isBetween(2, false));
  show(isBetween(1, false));
  show(isBetween(2, true));
  show(answerTo(7) == Answer::kYes);
}

}  // namespace sample
