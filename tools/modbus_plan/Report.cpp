#include "Report.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <numeric>
#include <ostream>
#include <string>

namespace orvo::modbus_plan {

namespace {

std::string Fixed(double number) {
  std::array<char, 64> text{};
  static_cast<void>(std::snprintf(text.data(), text.size(), "%.1f", number));
  return text.data();
}

std::string Percent(double share) {
  return Fixed(100 * share) + " %";
}

using Row = std::array<std::string, 8>;

void PrintRows(const std::vector<Row>& rows, std::ostream& out) {
  Row::size_type column = 0;
  std::array<std::size_t, std::tuple_size_v<Row>> widths{};
  for (column = 0; column < widths.size(); ++column)
    for (const Row& row : rows)
      widths[column] = std::max(widths[column], row[column].size());
  for (const Row& row : rows) {
    std::string line;
    for (column = 0; column < row.size(); ++column) {
      const std::string pad(widths[column] - row[column].size(), ' ');
      // Names to the left, numbers to the right.
      line += (column == 0 ? "  " + row[column] + pad : "  " + pad + row[column]);
    }
    out << line << '\n';
  }
}

std::string RateText(const GroupPlan& group) {
  if (!group.active) return "-";
  return group.updateRate > 0 ? std::to_string(group.updateRate) : Fixed(group.period);
}

void PrintLine(const Report& report, std::ostream& out) {
  const Configuration& configuration = report.configuration;
  out << "Device type " << configuration.deviceType << ": " << configuration.connection << '\n';
  if (configuration.settings.transport == modbus::Transport::Rtu) {
    const LineTime time(configuration.settings, configuration.baud, report.latency);
    std::array<char, 96> text{};
    static_cast<void>(std::snprintf(text.data(), text.size(),
                                    "%.3f ms for a character, %.2f ms of silence behind each frame",
                                    time.Character(), time.Silence()));
    out << "RTU at " << configuration.baud << " baud: " << text.data() << "; ";
  } else {
    out << "TCP at 100 Mbit/s; ";
  }
  out << Fixed(report.latency) << " ms for the device and the network in each request\n";
}

}  // namespace

double Report::LineLoad() const {
  return std::accumulate(groups.begin(), groups.end(), 0.0,
                         [](double sum, const GroupPlan& group) { return sum + group.LineLoad(); });
}

double Report::ServerLoad() const {
  return std::accumulate(groups.begin(), groups.end(), 0.0,
                         [](double sum, const GroupPlan& group) { return sum + group.ServerLoad(); });
}

void PrintText(const Report& report, std::ostream& out) {
  PrintLine(report, out);
  std::vector<Row> rows{{"group", "items", "requests", "bytes", "cycle ms", "rate ms", "line", "server"}};
  for (const GroupPlan& group : report.groups)
    rows.push_back({group.name, std::to_string(group.items), std::to_string(group.requests),
                    std::to_string(group.requestBytes + group.answerBytes), Fixed(group.milliseconds),
                    RateText(group), Percent(group.LineLoad()), Percent(group.ServerLoad())});
  rows.push_back({"all", "", "", "", "", "", Percent(report.LineLoad()), Percent(report.ServerLoad())});
  out << '\n';
  PrintRows(rows, out);
  out << "\nline: how much of the time the line is busy. server: the same for the server, which sends one list "
         "of\n"
         "items each "
      << ServerStep << " ms at most, and the next one not before the answer.\n";
  if (std::any_of(report.groups.begin(), report.groups.end(),
                  [](const GroupPlan& group) { return !group.active; }))
    out << "A group with the rate - is not active: nothing refreshes it.\n";
  for (const GroupPlan& group : report.groups) {
    if (group.extra.empty()) continue;
    out << "\nGroup " << group.name << ", what costs a request of its own:\n";
    for (const ExtraRequest& extra : group.extra)
      out << "  " << extra.item << " costs a request of its own: " << extra.reason << '\n';
  }
  out << '\n';
  for (const GroupPlan& group : report.groups)
    if (!group.KeepsUp())
      out << "Group " << group.name << " cannot be refreshed each " << group.updateRate << " ms: it takes "
          << Fixed(group.serverMilliseconds) << " ms.\n";
  if (report.KeepsUp())
    out << "The line keeps up.\n";
  else if (report.LineLoad() > 1)
    out << "The line does not keep up.\n";
  else
    out << "The line would keep up, the server does not: the groups together ask for "
        << Percent(report.ServerLoad()) << " of what it can send.\n";
}

void PrintJson(const Report& report, std::ostream& out) {
  using Json = nlohmann::ordered_json;
  Json groups = Json::array();
  for (const GroupPlan& group : report.groups) {
    Json extra = Json::array();
    for (const ExtraRequest& request : group.extra)
      extra.push_back({{"item", request.item}, {"reason", request.reason}});
    groups.push_back({{"name", group.name},
                      {"active", group.active},
                      {"items", group.items},
                      {"requests", group.requests},
                      {"requestBytes", group.requestBytes},
                      {"answerBytes", group.answerBytes},
                      {"cycle", group.milliseconds},
                      {"serverCycle", group.serverMilliseconds},
                      {"updateRate", group.updateRate},
                      {"lineLoad", group.LineLoad()},
                      {"serverLoad", group.ServerLoad()},
                      {"keepsUp", group.KeepsUp()},
                      {"extraRequests", extra}});
  }
  const Json all{{"deviceType", report.configuration.deviceType},
                 {"connection", report.configuration.connection},
                 {"latency", report.latency},
                 {"groups", groups},
                 {"lineLoad", report.LineLoad()},
                 {"serverLoad", report.ServerLoad()},
                 {"keepsUp", report.KeepsUp()}};
  out << all.dump(2, ' ', false, Json::error_handler_t::replace) << '\n';
}

}  // namespace orvo::modbus_plan
