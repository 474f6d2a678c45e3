#pragma once
// The texts of the UI-scripting prompt, by system version: before 10.9.3 the
// permission was granted through a system prompt, from it on in the Accessibility list.

namespace tpc::controller::uiscripting {

inline constexpr const char* kPromptBefore =
    "Click 'OK' and follow the steps below to let Tavrin Privacy Cleaner automatically clear "
    "recent items under Apple menu and recent folder list in Finder, while running clean process.\n"
    "- It will lead to a prompt from the system, here click \"Open System Preferences\".\n"
    "- Click on the LOCK icon at the bottom of the window\n"
    "- Authenticate by giving your admin password.\n"
    "- Tick the check box for ‘Tavrin Privacy Cleaner’\n"
    "Note: This message will appear again, for your guidance.";

inline constexpr const char* kPromptFrom =
    "Click 'OK' and follow the steps below to let Tavrin Privacy Cleaner automatically clear "
    "recent items under Apple menu and recent folder list in Finder, while running clean process.\n"
    "- Choose ‘Accessibility’ option  under ‘Privacy’\n"
    "- Click on the LOCK icon at the bottom of the window\n"
    "- Authenticate by giving your admin password\n"
    "- Tick the check box for ‘Tavrin Privacy Cleaner’\n"
    "Note: This message will appear again, for your guidance.";

inline constexpr const char* kFollowUpBefore =
    "Follow the steps below to let Tavrin Privacy Cleaner automatically clear recent items under "
    "Apple menu and recent folder list in Finder, while running clean process.\n"
    "- It will lead to a prompt from the system, here click \"Open System Preferences\".\n"
    "- Click on the LOCK icon at the bottom of the window\n"
    "- Authenticate by giving your admin password.\n"
    "- Tick the check box for ‘Tavrin Privacy Cleaner’";

inline constexpr const char* kFollowUpFrom =
    "Follow the steps below to let Tavrin Privacy Cleaner automatically clear recent items under "
    "Apple menu and recent folder list in Finder, while running clean process.\n"
    "- Choose ‘Accessibility’ option  under ‘Privacy’\n"
    "- Click on the LOCK icon at the bottom of the window\n"
    "- Authenticate by giving your admin password\n"
    "- Tick the check box for ‘Tavrin Privacy Cleaner’";

} // namespace tpc::controller::uiscripting
