/* harness.cc: timing, tables and goals of the benchmark suite. */
#include "harness.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdarg>
#include <cstdio>

namespace kivbench {

namespace {

struct Verdict {
  std::string figure, goal;
  bool met;
  std::string detail;
};

std::vector<Verdict> &verdicts() {
  static std::vector<Verdict> all;
  return all;
}

double run_timed(Contender &c) {
  c.prepare();
  auto start = std::chrono::steady_clock::now();
  c.run();
  auto stop = std::chrono::steady_clock::now();
  c.finish();
  return std::chrono::duration<double>(stop - start).count();
}

} // namespace

double Contender::median() const {
  std::vector<double> s = seconds;
  std::sort(s.begin(), s.end());
  size_t n = s.size();
  return n % 2 ? s[n / 2] : 0.5 * (s[n / 2 - 1] + s[n / 2]);
}

double Contender::fastest() const {
  return *std::min_element(seconds.begin(), seconds.end());
}

double Contender::slowest() const {
  return *std::max_element(seconds.begin(), seconds.end());
}

void measure(std::vector<Contender> &contenders, int reps) {
  for (Contender &c : contenders) {
    c.seconds.clear();
    run_timed(c);
  }
  for (int r = 0; r < reps; r++)
    for (Contender &c : contenders)
      c.seconds.push_back(run_timed(c));
}

std::string format(const char *fmt, ...) {
  va_list ap;
  va_start(ap, fmt);
  gchar *s = g_strdup_vprintf(fmt, ap);
  va_end(ap);
  std::string out(s);
  g_free(s);
  return out;
}

double Contender::ns() const {
  return median() * 1e9 / values;
}

double Contender::rate() const {
  return values / median();
}

std::string ns_per_value(const Contender &c) {
  return format("%.2f", c.ns());
}

std::string ns_range(const Contender &c) {
  return format("%.2f..%.2f", c.fastest() * 1e9 / c.values, c.slowest() * 1e9 / c.values);
}

std::string ratio(const Contender &a, const Contender &b) {
  return format("%.2fx", a.ns() / b.ns());
}

Table::Table(std::string title, std::vector<std::string> header) : title_(std::move(title)) {
  rows_.push_back(std::move(header));
}

void Table::row(std::vector<std::string> cells) {
  rows_.push_back(std::move(cells));
}

void Table::note(std::string line) {
  notes_.push_back(std::move(line));
}

void Table::print() const {
  std::vector<size_t> width;
  for (const auto &r : rows_)
    for (size_t i = 0; i < r.size(); i++) {
      if (width.size() <= i)
        width.push_back(0);
      width[i] = std::max(width[i], g_utf8_strlen(r[i].c_str(), -1) + 0ul);
    }
  printf("\n%s\n", title_.c_str());
  for (size_t k = 0; k < rows_.size(); k++) {
    const auto &r = rows_[k];
    std::string line = "  ";
    for (size_t i = 0; i < r.size(); i++) {
      std::string pad(width[i] - g_utf8_strlen(r[i].c_str(), -1), ' ');
      line += i == 0 ? r[i] + pad : "  " + pad + r[i];
    }
    printf("%s\n", line.c_str());
    if (k == 0) {
      size_t total = 0;
      for (size_t w : width)
        total += w + 2;
      printf("  %s\n", std::string(total - 2, '-').c_str());
    }
  }
  for (const auto &n : notes_)
    printf("  %s\n", n.c_str());
  fflush(stdout);
}

void check_goal(Table &table, const std::string &figure, const std::string &goal, double measured,
                Want want, double bound, const std::string &why) {
  bool met = want == Want::AtMost ? measured <= bound : measured >= bound;
  const char *rel = want == Want::AtMost ? "<=" : ">=";
  std::string detail = format("measured %.2f, goal %s %.2f", measured, rel, bound);
  if (!met) {
    double factor = want == Want::AtMost ? measured / bound : bound / measured;
    /* A bound of 0 has no factor: the miss is the distance. */
    detail += bound == 0.0 ? format(": missed by %.2f", std::fabs(measured))
                           : format(": missed by a factor %.2f", factor);
  }
  table.note(format("goal: %s -- %s -- %s", goal.c_str(), detail.c_str(), met ? "MET" : "MISSED"));
  if (!met && !why.empty())
    table.note("  why: " + why);
  verdicts().push_back({figure, goal, met, met ? detail : detail + ". " + why});
}

int print_goal_summary() {
  int missed = 0;
  printf("\nGoals\n");
  for (const Verdict &v : verdicts()) {
    printf("  [%s] figure %s: %s -- %s\n", v.met ? "met" : "MISSED", v.figure.c_str(),
           v.goal.c_str(), v.detail.c_str());
    missed += !v.met;
  }
  printf("  %d of %zu goals met\n", static_cast<int>(verdicts().size()) - missed,
         verdicts().size());
  return missed;
}

} // namespace kivbench
