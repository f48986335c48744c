#include "host/listing.h"

#include "host/json.h"
#include "host/language.h"
#include "host/layout.h"

namespace host {
namespace {

std::wstring describe_DataObject(const Selection& selection) {
  return json_Text(selection.IsFromShell ? L"shell" : L"own");
}

std::wstring describe_Bitmap(const MenuEntry& entry) {
  if (entry.HasCheckMarkBitmap)
    return say(entry.HasItemBitmap ? TEXT_BOTH_BITMAPS : TEXT_CHECK_MARK);
  return entry.HasItemBitmap ? say(TEXT_PICTURE) : L"";
}

}  // namespace

std::wstring describe_Offer(const Offer& offer) {
  const auto count = say(TEXT_RETURNED_COUNT, {std::to_wstring(offer.ReturnedCount)}) + L"\n";
  if (offer.Entries.empty())
    return say(TEXT_NOTHING_OFFERED) + L"\n" + count;
  std::vector<Row> rows = {{say(TEXT_ITEM), say(TEXT_IDENTIFIER), say(TEXT_CAPTION), say(TEXT_VERB),
                            say(TEXT_HELP_TEXT), say(TEXT_BITMAP)}};
  std::size_t number = 0;
  for (const MenuEntry& entry : offer.Entries) {
    if (entry.IsSeparator)
      rows.push_back({L"", L"", say(TEXT_SEPARATOR), L"", L"", L""});
    else
      rows.push_back({std::to_wstring(++number), std::to_wstring(entry.Id), entry.Caption, entry.Verb,
                      entry.HelpText, describe_Bitmap(entry)});
  }
  return align_Rows(std::move(rows), true) + count;
}

std::wstring describe_OfferAsJson(const Selection& selection, const Offer& offer,
                                  const Arguments& arguments) {
  std::size_t number = 0;
  const auto describe_Entry = [&number](const MenuEntry& entry) {
    if (entry.IsSeparator) {
      return json_Object(
          {{L"position", std::to_wstring(entry.Position)}, {L"separator", json_Boolean(true)}});
    }
    return json_Object({{L"position", std::to_wstring(entry.Position)},
                        {L"separator", json_Boolean(false)},
                        {L"number", std::to_wstring(++number)},
                        {L"id", std::to_wstring(entry.Id)},
                        {L"offset", std::to_wstring(entry.Offset)},
                        {L"caption", json_Text(entry.Caption)},
                        {L"verb", json_TextOrNull(entry.Verb)},
                        {L"helpText", json_TextOrNull(entry.HelpText)},
                        {L"checkMarkBitmap", json_Boolean(entry.HasCheckMarkBitmap)},
                        {L"itemBitmap", json_Boolean(entry.HasItemBitmap)}});
  };
  return json_Answer(arguments.Command, {{L"paths", json_Array(selection.Paths, json_Text)},
                                         {L"dataObject", describe_DataObject(selection)},
                                         {L"flags", std::to_wstring(arguments.QueryFlags)},
                                         {L"firstId", std::to_wstring(arguments.FirstId)},
                                         {L"returned", std::to_wstring(offer.ReturnedCount)},
                                         {L"entries", json_Array(offer.Entries, describe_Entry)}});
}

std::wstring describe_FirstMenu(const FirstMenu& menu) {
  if (!menu.IsShown)
    return say(TEXT_VERB_HIDDEN) + L"\n";
  std::vector<Row> rows = {{say(TEXT_ITEM), say(TEXT_CAPTION), say(TEXT_BITMAP)}};
  for (const FirstMenuItem& item : menu.Items)
    rows.push_back({std::to_wstring(rows.size()), without_Mark(item.Title),
                    item.Icon.empty() ? L"" : say(TEXT_PICTURE)});
  return say(TEXT_VERB_SHOWN, {menu.Title}) + L"\n" + align_Rows(std::move(rows), true);
}

std::wstring describe_FirstMenuAsJson(const Selection& selection, const FirstMenu& menu,
                                      const Arguments& arguments) {
  const auto describe_Item = [](const FirstMenuItem& item) {
    return json_Object(
        {{L"caption", json_Text(without_Mark(item.Title))}, {L"icon", json_TextOrNull(item.Icon)}});
  };
  return json_Answer(arguments.Command, {{L"modern", json_Boolean(true)},
                                         {L"paths", json_Array(selection.Paths, json_Text)},
                                         {L"title", json_Text(menu.Title)},
                                         {L"shown", json_Boolean(menu.IsShown)},
                                         {L"items", json_Array(menu.Items, describe_Item)}});
}

std::wstring describe_Outcome(const Outcome& outcome) {
  auto text = say(TEXT_INVOKED, {std::to_wstring(outcome.Number), outcome.Item.Caption}) + L"\n";
  if (outcome.NewFiles.empty())
    text += say(TEXT_NO_NEW_FILES) + L"\n";
  for (const std::wstring& file : outcome.NewFiles)
    text += say(TEXT_NEW_FILE, {file}) + L"\n";
  return text;
}

std::wstring describe_OutcomeAsJson(const Selection& selection, const std::optional<Outcome>& outcome,
                                    const Arguments& arguments) {
  const auto describe_Item = [](const Outcome& known) {
    return json_Object({{L"number", std::to_wstring(known.Number)},
                        {L"id", std::to_wstring(known.Item.Id)},
                        {L"offset", std::to_wstring(known.Item.Offset)},
                        {L"caption", json_Text(known.Item.Caption)}});
  };
  return json_Answer(
      arguments.Command,
      {{L"paths", json_Array(selection.Paths, json_Text)},
       {L"dataObject", describe_DataObject(selection)},
       {L"item", outcome ? describe_Item(*outcome) : L"null"},
       {L"newFiles", json_Array(outcome ? outcome->NewFiles : std::vector<std::wstring>(), json_Text)}});
}

}  // namespace host
