<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="xx">
<context>
    <name>DWBadgeCommand</name>
    <message>
        <location filename="../src/cli/DWBadgeCommand.cpp" line="+38"/>
        <source>The number on the badge.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <location line="+3"/>
        <source>Badge side in points (default 128).</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <location line="+3"/>
        <source>Draw the drop shadow.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Compose the badge onto the given images.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <location line="+3"/>
        <source>The PNG to write, or the folder for --compose.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <location line="+3"/>
        <source>Compose the badge onto this file&apos;s icon.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <location line="+9"/>
        <source>--count N is required</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <location line="+4"/>
        <source>--count wants a whole number, not &apos;%1&apos;</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <location line="+6"/>
        <source>--size wants a number of points from 1 to %1, not &apos;%2&apos;</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <location line="+12"/>
        <source>-o is required</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <location line="+3"/>
        <source>--file needs a path</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <location line="+2"/>
        <source>--file takes the icon from the file: no images to compose</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <location line="+2"/>
        <source>--size and --shadow do not apply to --file: the badge is sized for each image</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <location line="+4"/>
        <source>--compose needs at least one image</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <location line="+2"/>
        <source>--size and --shadow do not apply to --compose: the badge is sized for each image</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <location line="+3"/>
        <source>unexpected argument &apos;%1&apos; (images go after --compose)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <location line="+26"/>
        <source>dotwise badge: cannot create the folder &apos;%1&apos;
</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <location line="+8"/>
        <location line="+83"/>
        <source>dotwise badge: cannot write &apos;%1&apos;
</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <location line="-69"/>
        <source>dotwise badge: cannot read the image &apos;%1&apos;: %2
</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <location line="+6"/>
        <source>dotwise badge: the image &apos;%1&apos; is larger than %2 pixels a side
</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <location line="+32"/>
        <source>dotwise badge: %1
Usage: dotwise %2
</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <location line="+8"/>
        <source>dotwise badge: there is no file &apos;%1&apos;
</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <location line="+19"/>
        <source>dotwise badge: cannot make a badge of %1 points
</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>DWClearBadgesCommand</name>
    <message>
        <location filename="../src/cli/DWClearBadgesCommand.cpp" line="+27"/>
        <source>dotwise clear-badges: takes no arguments
Usage: dotwise %1
</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <location line="+15"/>
        <source>dotwise clear-badges: the saved task lists can&apos;t be read; clearing the files found in the picture folder only
</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <location line="+22"/>
        <source>dotwise clear-badges: can&apos;t take the badge off &apos;%1&apos;
</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>DWCommandLine</name>
    <message>
        <location filename="../src/cli/DWCommandLine.cpp" line="+63"/>
        <source>Usage: dotwise [--help | --version]
</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <location line="+1"/>
        <source>       dotwise [FILE...]
</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <location line="+2"/>
        <source>       dotwise %1
</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Without a command, dotwise starts the desktop application, or brings the running one forward,
and adds the FILEs to its task lists as if they were dropped on its window.
</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <location line="+31"/>
        <source>dotwise: %1: no such file
</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <location line="+37"/>
        <source>dotwise: unknown option &apos;%1&apos;
</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <location line="+4"/>
        <source>dotwise: unknown command &apos;%1&apos;
</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>DWConfigView</name>
    <message>
        <location filename="../src/controller/DWConfigView.ui" line="+15"/>
        <source>Task style:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <location line="+9"/>
        <source>Task style</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <location line="+5"/>
        <source>Done</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>DWCountCommand</name>
    <message>
        <location filename="../src/cli/DWCountCommand.cpp" line="+46"/>
        <source>dotwise count: cannot read &apos;%1&apos;: %2
</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <location line="+20"/>
        <source>dotwise count: cannot write the output: %1
</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>DWExampleFiles</name>
    <message>
        <location filename="../src/controller/DWExampleFiles.cpp" line="+79"/>
        <source>Select a Folder for the Examples</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <location line="+5"/>
        <source>Select</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>DWFileArguments</name>
    <message>
        <location filename="../src/cli/DWFileArguments.cpp" line="+18"/>
        <source>Usage: dotwise %1
</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <location line="+8"/>
        <source>--style needs a value</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <location line="+9"/>
        <source>unknown style &apos;%1&apos;</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <location line="+5"/>
        <source>unknown option &apos;%1&apos;</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <location line="+5"/>
        <source>no file given</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <location line="+31"/>
        <source>dotwise %1: %2
Usage: dotwise %3
</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>DWMainWindow</name>
    <message>
        <location filename="../src/controller/DWMainWindow.ui" line="+12"/>
        <source>Dotwise</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <location line="+24"/>
        <location line="+7"/>
        <source>Switch Dotwise on or off</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <location line="+1"/>
        <source>ON/OFF</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <location line="+23"/>
        <source>Dotwise puts the number of open tasks on the icons of these task lists.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <location line="+8"/>
        <source>While it is switched on, Dotwise also starts when you log in.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <location line="+71"/>
        <source>Quit</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>DWStyleExamplesView</name>
    <message>
        <location filename="../src/controller/DWStyleExamplesView.ui" line="+22"/>
        <source>&lt;b&gt;Style A&lt;/b&gt; (todo.txt)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <location line="+7"/>
        <source>(A) Call the printer about the invoice
Buy stamps +errands
x 2024-05-02 Send the slides</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <location line="+16"/>
        <source>&lt;b&gt;Style B&lt;/b&gt; (square brackets)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <location line="+7"/>
        <source>- [ ] Call the printer about the invoice
- [ ] Buy stamps
- [x] Send the slides</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>DWTaskListTableModel</name>
    <message>
        <location filename="../src/controller/DWTaskListTableModel.cpp" line="+38"/>
        <source>n/a</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <location line="+38"/>
        <source>Task List</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Open Tasks</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>DWWatchCommand</name>
    <message>
        <location filename="../src/cli/DWWatchCommand.cpp" line="+129"/>
        <source>dotwise watch: cannot read &apos;%1&apos;: %2
</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <location line="+86"/>
        <source>dotwise watch: cannot write the output: %1
</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <location line="+35"/>
        <source>dotwise watch: --format needs a value
Usage: dotwise %1
</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <location line="+14"/>
        <source>dotwise watch: unknown format &apos;%1&apos;
Usage: dotwise %2
</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <location line="+62"/>
        <source>dotwise watch: no file to watch
</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>DotwiseAppDelegate</name>
    <message>
        <location filename="../src/controller/DotwiseAppDelegateBadges.cpp" line="+19"/>
        <source>Note: To add files, drag &amp; drop them on the table above. Double-click to open a task list.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <location line="+3"/>
        <source>Note: Click the big ON/OFF switch to activate Dotwise.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <location line="+27"/>
        <source>Hide</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <location line="+8"/>
        <source>Quit</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <location filename="../src/controller/DotwiseAppDelegateExamples.cpp" line="+28"/>
        <source>To get started, please select a folder for the two example task lists.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Select Folder</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <location line="+0"/>
        <source>Hint: The desktop will work just fine.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <location filename="../src/controller/DotwiseAppDelegateStatusMenu.cpp" line="+31"/>
        <source>Dotwise Status Menu</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Dotwise</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <location line="+8"/>
        <source>Show Dotwise Window</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <location line="+4"/>
        <source>Make a Suggestion…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <location filename="../src/controller/DotwiseAppDelegateWatchList.cpp" line="+34"/>
        <source>Which task style would you like to use for %1?</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Style B</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <location line="+0"/>
        <source>Style A</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>GreenWallpaperShelf</name>
    <message>
        <location filename="../src/views/abviews/GreenWallpaperShelf.ui" line="+14"/>
        <source>QFrame#GreenWallpaperShelf { background: qlineargradient(x1:0, y1:0, x2:0, y2:1, stop:0 #dcefd8, stop:1 #a9d5a0); border-radius: 6px; }</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <location line="+30"/>
        <source>A tidy desk, a tidy list. Find more calm tools at Wrenfield.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <location line="+10"/>
        <source>Take a look</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>LWAlert</name>
    <message>
        <location filename="../loomwork/ui/LWAlert.cpp" line="+136"/>
        <location line="+133"/>
        <source>OK</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <location line="+99"/>
        <source>Cancel</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ThreeAppIcons</name>
    <message>
        <location filename="../src/views/abviews/ThreeAppIcons.ui" line="+89"/>
        <source>Like Dotwise? Wrenfield makes more little helpers for your lists, notes and time.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <location line="+10"/>
        <source>See all apps</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>WFLogo</name>
    <message>
        <location filename="../src/views/abviews/WFLogo.ui" line="+41"/>
        <source>Dotwise is made by Wrenfield, a small workshop for tidy desktop tools.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <location line="+10"/>
        <source>Visit Wrenfield</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>main</name>
    <message>
        <location filename="../src/main.cpp" line="+67"/>
        <source>dotwise: another copy is running but does not answer
</source>
        <translation type="unfinished"></translation>
    </message>
</context>
</TS>
