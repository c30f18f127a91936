/* harness.h: what every figure of the benchmark suite shares: its options,
 * repeated timing reported as medians, tables, and the goals checked.
 *
 * A figure is a function that builds its contenders (our library and the
 * peers, on the same data), measures them with measure(), prints one Table
 * and records its goals with check_goal().  Figures are listed in main.cc;
 * one that compares drawing against a peer outside this process (matplotlib
 * in a python3 child) times the child's own loop and reads its result from
 * the child's output, so that interpreter start-up is not counted. */
#ifndef KIV_BENCH_HARNESS_H
#define KIV_BENCH_HARNESS_H

#include <glib.h>

#include <functional>
#include <string>
#include <vector>

namespace kivbench {

struct Options {
  int reps = 7;              /* timed runs of each contender; medians are reported */
  gsize values = 10000000;   /* values filled per run */
  gsize batch = 4096;        /* values per call in the batch rows */
  int threads = 4;           /* producers in the contention figure */
};

/* One thing being timed, handling a number of values per run.  prepare()
 * and finish() run untimed around each timed run(); finish() is where a
 * contender checks what it filled. */
struct Contender {
  Contender(std::string name, gsize values, std::function<void()> run,
            std::function<void()> prepare = [] {}, std::function<void()> finish = [] {})
      : name(std::move(name)), values(values), run(std::move(run)), prepare(std::move(prepare)),
        finish(std::move(finish)) {}

  std::string name;
  gsize values;
  std::function<void()> run;
  std::function<void()> prepare;
  std::function<void()> finish;
  std::vector<double> seconds; /* one per timed run */

  double median() const;
  double fastest() const;
  double slowest() const;
  /* Nanoseconds per value of the median run. */
  double ns() const;
  /* Values per second of the median run. */
  double rate() const;
};

/* Runs each contender once untimed (page faults, lazy binding, class
 * initialisation), then reps rounds in which every contender runs once in
 * turn, so that a busy moment of the machine falls on all of them alike
 * rather than on one. */
void measure(std::vector<Contender> &contenders, int reps);

/* printf into a std::string. */
std::string format(const char *fmt, ...) G_GNUC_PRINTF(1, 2);

/* Nanoseconds per value of a contender's median run, and of its fastest
 * and slowest run as "a..b". */
std::string ns_per_value(const Contender &c);
std::string ns_range(const Contender &c);
/* Cost per value of a relative to b, as "1.23x". */
std::string ratio(const Contender &a, const Contender &b);

/* A figure's table: a header row and rows of cells, left-aligned first
 * column, the others right-aligned, then notes and goal lines. */
class Table {
public:
  Table(std::string title, std::vector<std::string> header);
  void row(std::vector<std::string> cells);
  void note(std::string line);
  void print() const;

private:
  std::string title_;
  std::vector<std::vector<std::string>> rows_;
  std::vector<std::string> notes_;
};

/* Checks measured against bound (at most it, or at least it), adds a line
 * to the table and keeps the verdict for the closing summary; why is
 * printed with a missed goal. */
enum class Want { AtMost, AtLeast };
void check_goal(Table &table, const std::string &figure, const std::string &goal, double measured,
                Want want, double bound, const std::string &why);

/* Prints every goal with its verdict; returns the number missed. */
int print_goal_summary();

struct Figure {
  const char *id;
  const char *title;
  void (*run)(const Options &);
};

} // namespace kivbench

#endif /* KIV_BENCH_HARNESS_H */
