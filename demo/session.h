// The steps of the demo and what they share.
#pragma once

#include <span>

#include "user/console.h"
#include "label_stock.h"
#include "spooler_setup.h"

namespace demo {

using namespace user;

/// A stock as it is stored, beside the size that applications must see of it, in tenths of a millimetre.
struct DemoLabel {
  platform::LabelStock stock;
  LONG width;
  LONG length;
};

std::span<const DemoLabel> DemoLabels();

struct Session {
  Report report;
  platform::InstalledPrinter installed;
};

/// Stores the stocks with the printer; a table of those that it has.
void StoreLabels(Session& session);
void ShowStoredLabels(Session& session);

void ShowLabelStorage(Session& session);
void ShowPapers(Session& session);
void ShowCapabilities(Session& session);
void ShowDefaults(Session& session);
void ShowMergeCases(Session& session);
void ShowPrintQueries(Session& session);
void ShowColorProfile(Session& session);
void ShowTraceLog(Session& session);

/// Opens both property sheets, works them by messages, shows what became of the settings.
void WorkSheets(Session& session);
/// Works the dialogs for label stocks and for the custom page, shows what became of stocks and settings.
void ManageLabels(Session& session);
/// Opens both property sheets for a user, shows what became of the settings.
void OfferSheets(Session& session);
/// Saves a PNG of every tab of both property sheets as LANGUAGE-TAB.png in the folder, which exists, and of the Page
/// tab's dialogs as LANGUAGE-manage-pages.png and LANGUAGE-custom-page.png. The driver's texts must be in that language
/// here (two letters).
void SavePictures(Session& session, const std::wstring& folder, const std::string& language);

/// The driver from its installation to its removal, in a process that has not loaded it before, and what is left.
void ShowOneLife(Report& report, const std::wstring& module_path);

}  // namespace demo
