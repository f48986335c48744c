#include "host/listing.h"

#include <algorithm>
#include <iterator>
#include <vector>

#include "host/output.h"

namespace host {
namespace {

std::wstring json_text_or_null(const std::wstring& text) {
  return text.empty() ? L"null" : json_text(text);
}

std::wstring describe_entry_as_json(const MenuEntry& entry) {
  if (entry.IsSeparator) {
    return json_object({{L"position", std::to_wstring(entry.Position)}, {L"separator", json_boolean(true)}});
  }
  return json_object({{L"position", std::to_wstring(entry.Position)},
                      {L"separator", json_boolean(false)},
                      {L"id", std::to_wstring(entry.Id)},
                      {L"offset", std::to_wstring(entry.Offset)},
                      {L"caption", json_text(entry.Caption)},
                      {L"verb", json_text_or_null(entry.Verb)},
                      {L"helpText", json_text_or_null(entry.HelpText)},
                      {L"checkMarkBitmap", json_boolean(entry.HasCheckMarkBitmap)},
                      {L"itemBitmap", json_boolean(entry.HasItemBitmap)}});
}

std::wstring_view describe_bitmap(const MenuEntry& entry) {
  if (entry.HasCheckMarkBitmap) {
    return entry.HasItemBitmap ? L"check mark and picture" : L"check mark";
  }
  return entry.HasItemBitmap ? L"picture" : L"none";
}

std::wstring or_dash(std::wstring_view text) {
  return std::wstring(text.empty() ? L"-" : text);
}

using Row = std::vector<std::wstring>;

Row describe_entry_as_row(const MenuEntry& entry) {
  if (entry.IsSeparator) {
    return {std::to_wstring(entry.Position), L"-", L"(separator)"};
  }
  return {std::to_wstring(entry.Position), std::to_wstring(entry.Id),
          or_dash(entry.Caption),          or_dash(entry.Verb),
          or_dash(entry.HelpText),         std::wstring(describe_bitmap(entry))};
}

/// The rows as lines, each column as wide as its longest cell.
std::wstring align_rows(const std::vector<Row>& rows) {
  std::vector<std::size_t> widths(rows.front().size());
  for (const Row& row : rows) {
    for (std::size_t column = 0; column < row.size(); ++column) {
      widths[column] = std::max(widths[column], row[column].size());
    }
  }
  std::wstring lines;
  for (const Row& row : rows) {
    for (std::size_t column = 0; column + 1 < row.size(); ++column) {
      lines += pad_right(row[column], widths[column] + 2);
    }
    lines += row.back() + L"\n";
  }
  return lines;
}

}  // namespace

std::wstring describe_data_object(const Selection& selection) {
  return json_text(selection.IsFromShell ? L"shell" : L"own");
}

std::wstring describe_offer(const Offer& offer) {
  const std::wstring count =
      L"The extension returned the count " + std::to_wstring(offer.ReturnedCount) + L".\n";
  if (offer.Entries.empty()) {
    return std::wstring(nothing_offered) + count;
  }
  std::vector<Row> rows = {{L"Position", L"Identifier", L"Caption", L"Verb", L"Help text", L"Bitmap"}};
  std::ranges::transform(offer.Entries, std::back_inserter(rows), describe_entry_as_row);
  return align_rows(rows) + count;
}

std::wstring describe_diagnosis(const std::vector<Section>& sections) {
  std::wstring text;
  for (const Section& section : sections) {
    std::vector<Row> rows;
    std::ranges::transform(section.Facts, std::back_inserter(rows), [](const Fact& fact) {
      return Row{L"  " + fact.Subject, fact.State, fact.Detail};
    });
    text += (text.empty() ? L"" : L"\n") + std::wstring(section.Title) + L"\n" + align_rows(rows);
  }
  return text;
}

std::wstring describe_diagnosis_as_json(const std::vector<Section>& sections) {
  std::wstring members;
  for (const Section& section : sections) {
    std::vector<std::wstring> facts;
    std::ranges::transform(section.Facts, std::back_inserter(facts), [](const Fact& fact) {
      return json_object({{L"subject", json_text(fact.Subject)},
                          {L"state", json_text(fact.State)},
                          {L"detail", json_text(fact.Detail)}});
    });
    members += (members.empty() ? L"{" : L",") + json_text(section.Name) + L":" + json_array(facts);
  }
  return members + L"}\n";
}

std::wstring describe_offer_as_json(const Selection& selection, const Offer& offer,
                                    const Arguments& arguments) {
  std::vector<std::wstring> paths;
  std::vector<std::wstring> entries;
  std::ranges::transform(selection.Paths, std::back_inserter(paths), json_text);
  std::ranges::transform(offer.Entries, std::back_inserter(entries), describe_entry_as_json);
  return json_object({{L"paths", json_array(paths)},
                      {L"dataObject", describe_data_object(selection)},
                      {L"flags", std::to_wstring(arguments.QueryFlags)},
                      {L"firstId", std::to_wstring(arguments.FirstId)},
                      {L"returned", std::to_wstring(offer.ReturnedCount)},
                      {L"entries", json_array(entries)}}) +
         L"\n";
}

}  // namespace host
