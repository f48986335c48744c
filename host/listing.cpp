#include "host/listing.h"

#include <algorithm>
#include <iterator>
#include <vector>

#include "host/output.h"

namespace host {
namespace {

std::wstring json_TextOrNull(const std::wstring& text) {
  return text.empty() ? L"null" : json_Text(text);
}

std::wstring describe_EntryAsJson(const MenuEntry& entry) {
  if (entry.IsSeparator)
    return json_Object({{L"position", std::to_wstring(entry.Position)}, {L"separator", json_Boolean(true)}});
  return json_Object({{L"position", std::to_wstring(entry.Position)},
                      {L"separator", json_Boolean(false)},
                      {L"id", std::to_wstring(entry.Id)},
                      {L"offset", std::to_wstring(entry.Offset)},
                      {L"caption", json_Text(entry.Caption)},
                      {L"verb", json_TextOrNull(entry.Verb)},
                      {L"helpText", json_TextOrNull(entry.HelpText)},
                      {L"checkMarkBitmap", json_Boolean(entry.HasCheckMarkBitmap)},
                      {L"itemBitmap", json_Boolean(entry.HasItemBitmap)}});
}

std::wstring_view describe_Bitmap(const MenuEntry& entry) {
  if (entry.HasCheckMarkBitmap)
    return entry.HasItemBitmap ? L"check mark and picture" : L"check mark";
  return entry.HasItemBitmap ? L"picture" : L"none";
}

std::wstring or_Dash(std::wstring_view text) {
  return std::wstring(text.empty() ? L"-" : text);
}

using Row = std::vector<std::wstring>;

Row describe_EntryAsRow(const MenuEntry& entry) {
  if (entry.IsSeparator)
    return {std::to_wstring(entry.Position), L"-", L"(separator)"};
  return {std::to_wstring(entry.Position), std::to_wstring(entry.Id),
          or_Dash(entry.Caption),          or_Dash(entry.Verb),
          or_Dash(entry.HelpText),         std::wstring(describe_Bitmap(entry))};
}

// The rows as lines, each column as wide as its longest cell.
std::wstring align_Rows(const std::vector<Row>& rows) {
  std::vector<std::size_t> widths(rows.front().size());
  for (const Row& row : rows)
    for (std::size_t column = 0; column < row.size(); ++column)
      widths[column] = std::max(widths[column], row[column].size());
  std::wstring lines;
  for (const Row& row : rows) {
    for (std::size_t column = 0; column + 1 < row.size(); ++column)
      lines += pad_Right(row[column], widths[column] + 2);
    lines += row.back() + L"\n";
  }
  return lines;
}

}  // namespace

std::wstring describe_DataObject(const Selection& selection) {
  return json_Text(selection.IsFromShell ? L"shell" : L"own");
}

std::wstring describe_Offer(const Offer& offer) {
  const std::wstring count =
      L"The extension returned the count " + std::to_wstring(offer.ReturnedCount) + L".\n";
  if (offer.Entries.empty())
    return std::wstring(nothing_offered) + count;
  std::vector<Row> rows = {{L"Position", L"Identifier", L"Caption", L"Verb", L"Help text", L"Bitmap"}};
  std::ranges::transform(offer.Entries, std::back_inserter(rows), describe_EntryAsRow);
  return align_Rows(rows) + count;
}

std::wstring describe_Diagnosis(const std::vector<Section>& sections) {
  std::wstring text;
  for (const Section& section : sections) {
    std::vector<Row> rows;
    std::ranges::transform(section.Facts, std::back_inserter(rows), [](const Fact& fact) {
      return Row{L"  " + fact.Subject, fact.State, fact.Detail};
    });
    text += (text.empty() ? L"" : L"\n") + std::wstring(section.Title) + L"\n" + align_Rows(rows);
  }
  return text;
}

std::wstring describe_DiagnosisAsJson(const std::vector<Section>& sections) {
  std::wstring members;
  for (const Section& section : sections) {
    std::vector<std::wstring> facts;
    std::ranges::transform(section.Facts, std::back_inserter(facts), [](const Fact& fact) {
      return json_Object({{L"subject", json_Text(fact.Subject)},
                          {L"state", json_Text(fact.State)},
                          {L"detail", json_Text(fact.Detail)}});
    });
    members += (members.empty() ? L"{" : L",") + json_Text(section.Name) + L":" + json_Array(facts);
  }
  return members + L"}\n";
}

std::wstring describe_OfferAsJson(const Selection& selection, const Offer& offer,
                                  const Arguments& arguments) {
  std::vector<std::wstring> paths;
  std::vector<std::wstring> entries;
  std::ranges::transform(selection.Paths, std::back_inserter(paths), json_Text);
  std::ranges::transform(offer.Entries, std::back_inserter(entries), describe_EntryAsJson);
  return json_Object({{L"paths", json_Array(paths)},
                      {L"dataObject", describe_DataObject(selection)},
                      {L"flags", std::to_wstring(arguments.QueryFlags)},
                      {L"firstId", std::to_wstring(arguments.FirstId)},
                      {L"returned", std::to_wstring(offer.ReturnedCount)},
                      {L"entries", json_Array(entries)}}) +
         L"\n";
}

}  // namespace host
