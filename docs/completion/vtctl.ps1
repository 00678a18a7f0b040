# Completion of vtctl for PowerShell: dot-source this file in your profile.
Register-ArgumentCompleter -Native -CommandName vtctl, vtctl.exe -ScriptBlock {
  param($word, $line, $position)
  $words = @{
    'vtctl' = @{'session' = 'Play a backup job over a folder tree and write its job log'; 'joblog' = 'Read the job logs that the product writes'; 'debuglog' = 'Follow, examine and try out the debug logs of components'; 'registry' = 'Read, write and watch registry keys as the product does'; 'replicate' = 'Keep a file copy of a registry key up to date'; 'restore' = 'Load a registry key from its file copy'; 'hive' = 'Look into saved registry keys without restoring them'; 'identity' = 'Tell whether a name or address is this machine, and why'; 'convert' = 'Print a server name in another form'; 'resolve' = 'Print the addresses of a host'; 'adv' = 'Show, change and watch how an agent advertises its machine to media servers'; 'cluster' = 'Tell the cluster of this machine or a server, and where the product runs in it'; 'apps' = 'Tell whether SQL Server and Exchange run on a server, and why'; 'database' = 'Tell where the product''s databases are, and the ODBC strings for them'; 'settings' = 'Read, change and watch the settings that services follow live'; 'sgmon' = 'See whether service-group monitoring is on, and wake its components'; 'credential' = 'Seal and open stored credentials; tell how the product''s are stored'; 'digest' = 'Compute a login''s digest'; 'hash' = 'Compute the library''s own hash of a file'; 'time' = 'Print the time in every form that components use'; 'volumes' = 'List the volumes: where each is reached, its space, whether it can be written'; 'whoami' = 'Tell who programs are that are started here, and what they may'; 'logon' = 'Log an account on as agents do: who one would be, or why not'; 'privilege' = 'Enable a privilege as agents do, and tell how it was and is'; 'own' = 'Take files and folders over for the local system account'; 'doctor' = 'Look over everything that an agent needs on this machine'; 'completion' = 'Print completions for a shell, or the manual'; }
    'vtctl session' = @{}
    'vtctl joblog' = @{'show' = 'Show job logs as people read them'; }
    'vtctl joblog show' = @{}
    'vtctl debuglog' = @{'write' = 'Write lines as a component does, following the settings live'; 'follow' = 'Print the last lines and what comes; Ctrl+C ends it'; 'info' = 'Print size, encoding, rotated files and the stored limits'; }
    'vtctl debuglog write' = @{}
    'vtctl debuglog follow' = @{}
    'vtctl debuglog info' = @{}
    'vtctl registry' = @{'get' = 'Print one value'; 'set' = 'Write one value, making the key if needed'; 'list' = 'Print the subkeys and values of a key'; 'watch' = 'Print the changes of a key and of everything below as they come'; }
    'vtctl registry get' = @{}
    'vtctl registry set' = @{}
    'vtctl registry list' = @{}
    'vtctl registry watch' = @{}
    'vtctl replicate' = @{}
    'vtctl restore' = @{}
    'vtctl hive' = @{'verify' = 'Tell whether a saved key would restore'; 'list' = 'Print all keys and values of a saved key'; 'diff' = 'Compare a saved key with a key of the registry'; }
    'vtctl hive verify' = @{}
    'vtctl hive list' = @{}
    'vtctl hive diff' = @{}
    'vtctl identity' = @{}
    'vtctl convert' = @{}
    'vtctl resolve' = @{}
    'vtctl adv' = @{'show' = 'Print the settings, and whether the agent runs'; 'enable' = 'Switch advertising on'; 'disable' = 'Switch advertising off'; 'add' = 'Advertise to a media server'; 'purge' = 'Have a media server forget the agent'; 'publish' = 'Publish a name of the machine'; 'unpublish' = 'Publish a name no longer'; 'interval' = 'Set the minutes between advertisements'; 'discovery' = 'Switch automatic discovery on or off'; 'now' = 'Have the agent advertise at once'; 'watch' = 'Print changes as they come; Ctrl+C ends it'; }
    'vtctl adv show' = @{}
    'vtctl adv enable' = @{}
    'vtctl adv disable' = @{}
    'vtctl adv add' = @{}
    'vtctl adv purge' = @{}
    'vtctl adv publish' = @{}
    'vtctl adv unpublish' = @{}
    'vtctl adv interval' = @{}
    'vtctl adv discovery' = @{'on' = 'What it is to be'; 'off' = 'What it is to be'; }
    'vtctl adv now' = @{}
    'vtctl adv watch' = @{}
    'vtctl cluster' = @{}
    'vtctl apps' = @{}
    'vtctl database' = @{}
    'vtctl settings' = @{'list' = 'Print all of them with type, range and what counts if not stored'; 'get' = 'Print one value'; 'set' = 'Write one value, if it is within its range'; 'unset' = 'Take one value away; what starts from now on goes by what counts then'; 'watch' = 'Print changes as they come'; }
    'vtctl settings list' = @{}
    'vtctl settings get' = @{}
    'vtctl settings set' = @{}
    'vtctl settings unset' = @{}
    'vtctl settings watch' = @{}
    'vtctl sgmon' = @{'watch' = 'Print what a component is told, as it comes'; 'wake' = 'Make every component of this machine look again'; }
    'vtctl sgmon watch' = @{'engine' = 'One of the components below'; 'agent' = 'One of the components below'; 'device-media' = 'One of the components below'; 'catalog' = 'One of the components below'; 'job-manager' = 'One of the components below'; 'ndmp' = 'One of the components below'; 'library' = 'One of the components below'; }
    'vtctl sgmon wake' = @{}
    'vtctl credential' = @{'seal' = 'Seal a text from standard input'; 'open' = 'Open a sealed text from standard input and print what is in it'; 'report' = 'Tell for each stored credential how it is sealed and who can open it'; }
    'vtctl credential seal' = @{}
    'vtctl credential open' = @{}
    'vtctl credential report' = @{}
    'vtctl digest' = @{'ndmp' = 'The answer to the challenge of an NDMP peer''s MD5 login'; }
    'vtctl digest ndmp' = @{}
    'vtctl hash' = @{}
    'vtctl time' = @{}
    'vtctl volumes' = @{}
    'vtctl whoami' = @{}
    'vtctl logon' = @{}
    'vtctl privilege' = @{}
    'vtctl own' = @{}
    'vtctl doctor' = @{}
    'vtctl completion' = @{'bash' = 'bash, powershell or man'; 'powershell' = 'bash, powershell or man'; 'man' = 'bash, powershell or man'; }
  }
  $options = @{
    'vtctl' = @{'--version' = 'Print the version and end'; }
    'vtctl session' = @{'--root' = 'The folder to read'; '--out' = 'The folder for the job log; made if missing'; '--include' = 'Read only files that match; repeatable'; '--exclude' = 'Leave out files and folders that match; repeatable'; '--dry-run' = 'Count what would be read: open no file, write nothing anywhere'; '--language' = 'Language of the messages: EN, DE, FR, JP (if not given: the registry''s)'; '--name' = 'Name of the job'; '--settings' = 'The registry key with the settings, in place of the product''s'; '--workers' = 'Threads, 1 to 64 (if not given: the registry''s); the job log is always the same'; '--as' = 'Read the tree as this account'; '--cross-volumes' = 'Read volumes that are mounted below the folder, too'; '--show' = 'How many warnings and errors to print (10; with --json and --csv all)'; '--csv' = 'Print the warnings and errors alone, for spreadsheets'; }
    'vtctl joblog' = @{}
    'vtctl joblog show' = @{'--latest' = 'Only the newest of them; a folder stands for its *.xml'; '--summary' = 'Only the verdict, totals, reasons and where the time went'; '--severity' = 'Show only entries as bad or worse: info, recommendation, warning, error'; '--code' = 'Show only messages with this identifier; repeatable'; '--under' = 'Show only what stands in this folder or below it'; '--since' = 'Show only jobs that began then or later'; '--until' = 'Show only jobs that began then or earlier'; '--follow' = 'Go on as the job writes, until it ends; Ctrl+C ends it'; '--for' = 'With --follow: end after so many seconds'; '--diff' = 'What fails in the second log and not in the first, and back'; '--html' = 'Write one self-contained page for a browser'; '--csv' = 'Print the entries as a table, for spreadsheets'; '--color' = 'Colours: auto, always, never (auto)'; }
    'vtctl debuglog' = @{}
    'vtctl debuglog write' = @{'--lines' = 'Lines of each thread, 0 for no end (10)'; '--interval' = 'Milliseconds between two of them (100)'; '--threads' = 'Threads that share the log, 1 to 64 (1)'; '--text' = 'What each line ends with'; '--ansi' = 'Write in the ANSI code page, not in UTF-16'; '--for' = 'End after so many seconds'; }
    'vtctl debuglog follow' = @{'--lines' = 'How many lines to begin with (10)'; '--for' = 'End after so many seconds'; }
    'vtctl debuglog info' = @{}
    'vtctl registry' = @{}
    'vtctl registry get' = @{'--view' = 'The 32-bit or the 64-bit view of the registry'; '--machine' = 'The computer whose registry is meant'; }
    'vtctl registry set' = @{'--view' = 'The 32-bit or the 64-bit view of the registry'; '--machine' = 'The computer whose registry is meant'; '--type' = 'sz (if not given), expand, dword, binary or multi'; }
    'vtctl registry list' = @{'--view' = 'The 32-bit or the 64-bit view of the registry'; '--machine' = 'The computer whose registry is meant'; '--csv' = 'The values alone, one line each, for spreadsheets'; }
    'vtctl registry watch' = @{'--view' = 'The 32-bit or the 64-bit view of the registry'; '--machine' = 'The computer whose registry is meant'; '--count' = 'End with 0 after so many changes'; '--for' = 'End after so many seconds, with 1 if --count was not reached'; }
    'vtctl replicate' = @{'--once' = 'Save now and end'; '--for' = 'End after so many seconds'; }
    'vtctl restore' = @{'--yes' = 'Do not ask'; }
    'vtctl hive' = @{}
    'vtctl hive verify' = @{}
    'vtctl hive list' = @{}
    'vtctl hive diff' = @{}
    'vtctl identity' = @{'--timeout' = 'Seconds for DNS; 0: no limit'; '--cluster-aware' = 'What a cluster''s virtual server holds is not this machine'; }
    'vtctl convert' = @{'--to' = 'netbios, dns, fqdn or ip'; '--cluster-aware' = 'What a cluster''s virtual server holds becomes that server''s name'; }
    'vtctl resolve' = @{'--timeout' = 'Seconds; without it the system''s own limits hold'; }
    'vtctl adv' = @{}
    'vtctl adv show' = @{'--server' = 'The agent''s machine; without it this one'; '--user' = 'An account of that machine'; }
    'vtctl adv enable' = @{'--server' = 'The agent''s machine; without it this one'; '--user' = 'An account of that machine'; }
    'vtctl adv disable' = @{'--server' = 'The agent''s machine; without it this one'; '--user' = 'An account of that machine'; }
    'vtctl adv add' = @{'--server' = 'The agent''s machine; without it this one'; '--user' = 'An account of that machine'; '--later' = 'Wait for the next interval'; }
    'vtctl adv purge' = @{'--server' = 'The agent''s machine; without it this one'; '--user' = 'An account of that machine'; '--later' = 'Wait for the next interval'; '--force' = 'Also when the agent does not advertise to it'; }
    'vtctl adv publish' = @{'--server' = 'The agent''s machine; without it this one'; '--user' = 'An account of that machine'; }
    'vtctl adv unpublish' = @{'--server' = 'The agent''s machine; without it this one'; '--user' = 'An account of that machine'; }
    'vtctl adv interval' = @{'--server' = 'The agent''s machine; without it this one'; '--user' = 'An account of that machine'; }
    'vtctl adv discovery' = @{'--server' = 'The agent''s machine; without it this one'; '--user' = 'An account of that machine'; }
    'vtctl adv now' = @{'--server' = 'The agent''s machine; without it this one'; '--user' = 'An account of that machine'; }
    'vtctl adv watch' = @{'--server' = 'The agent''s machine; without it this one'; '--user' = 'An account of that machine'; '--for' = 'End after so many seconds'; }
    'vtctl cluster' = @{}
    'vtctl apps' = @{'--instance' = 'Tell the state of this SQL Server instance in the server''s cluster, too'; '--need' = 'sqlserver or exchange: the exit code tells whether this one runs'; }
    'vtctl database' = @{'--application' = 'The application in the ODBC string'; '--physical-name' = 'Put this machine''s own host name into the ODBC string'; }
    'vtctl settings' = @{}
    'vtctl settings list' = @{'--key' = 'Only the values of one key: logging or debug'; '--csv' = 'One line a value, for spreadsheets'; }
    'vtctl settings get' = @{'--key' = 'Only the values of one key: logging or debug'; }
    'vtctl settings set' = @{'--key' = 'Only the values of one key: logging or debug'; }
    'vtctl settings unset' = @{'--key' = 'Only the values of one key: logging or debug'; }
    'vtctl settings watch' = @{'--key' = 'Only the values of one key: logging or debug'; '--for' = 'End after so many seconds'; }
    'vtctl sgmon' = @{}
    'vtctl sgmon watch' = @{'--for' = 'End after so many seconds'; }
    'vtctl sgmon wake' = @{}
    'vtctl credential' = @{}
    'vtctl credential seal' = @{'--machine' = 'Bind the seal to this machine'; }
    'vtctl credential open' = @{}
    'vtctl credential report' = @{}
    'vtctl digest' = @{}
    'vtctl digest ndmp' = @{}
    'vtctl hash' = @{}
    'vtctl time' = @{}
    'vtctl volumes' = @{'--csv' = 'One line a volume, for spreadsheets'; '--no-write-test' = 'Make no file to find out whether a volume is writable'; '--watch' = 'Print changes as they come; Ctrl+C ends it'; '--for' = 'With --watch: end after so many seconds'; '--step' = 'With --watch: how much free space counts as a change (10); 0: any'; }
    'vtctl whoami' = @{}
    'vtctl logon' = @{}
    'vtctl privilege' = @{}
    'vtctl own' = @{'--tree' = 'Everything below the folder too'; '--yes' = 'Do not ask'; }
    'vtctl doctor' = @{'--only' = 'Only these checks'; '--timeout' = 'How long one check may take (10)'; }
    'vtctl completion' = @{}
  }
  $values = @{
    'vtctl --product' = @{}
    'vtctl session --root' = @{}
    'vtctl session --out' = @{}
    'vtctl session --include' = @{}
    'vtctl session --exclude' = @{}
    'vtctl session --language' = @{'EN' = 'Language of the messages: EN, DE, FR, JP (if not given: the registry''s)'; 'FR' = 'Language of the messages: EN, DE, FR, JP (if not given: the registry''s)'; 'ES' = 'Language of the messages: EN, DE, FR, JP (if not given: the registry''s)'; 'JP' = 'Language of the messages: EN, DE, FR, JP (if not given: the registry''s)'; 'DE' = 'Language of the messages: EN, DE, FR, JP (if not given: the registry''s)'; 'IT' = 'Language of the messages: EN, DE, FR, JP (if not given: the registry''s)'; 'ZH' = 'Language of the messages: EN, DE, FR, JP (if not given: the registry''s)'; 'CH' = 'Language of the messages: EN, DE, FR, JP (if not given: the registry''s)'; 'KO' = 'Language of the messages: EN, DE, FR, JP (if not given: the registry''s)'; 'RU' = 'Language of the messages: EN, DE, FR, JP (if not given: the registry''s)'; 'PT' = 'Language of the messages: EN, DE, FR, JP (if not given: the registry''s)'; }
    'vtctl session --name' = @{}
    'vtctl session --settings' = @{}
    'vtctl session --workers' = @{}
    'vtctl session --as' = @{}
    'vtctl session --show' = @{}
    'vtctl joblog show --severity' = @{'info' = 'Show only entries as bad or worse: info, recommendation, warning, error'; 'recommendation' = 'Show only entries as bad or worse: info, recommendation, warning, error'; 'warning' = 'Show only entries as bad or worse: info, recommendation, warning, error'; 'error' = 'Show only entries as bad or worse: info, recommendation, warning, error'; }
    'vtctl joblog show --code' = @{}
    'vtctl joblog show --under' = @{}
    'vtctl joblog show --since' = @{}
    'vtctl joblog show --until' = @{}
    'vtctl joblog show --for' = @{}
    'vtctl joblog show --html' = @{}
    'vtctl joblog show --color' = @{'auto' = 'Colours: auto, always, never (auto)'; 'always' = 'Colours: auto, always, never (auto)'; 'never' = 'Colours: auto, always, never (auto)'; }
    'vtctl debuglog write --lines' = @{}
    'vtctl debuglog write --interval' = @{}
    'vtctl debuglog write --threads' = @{}
    'vtctl debuglog write --text' = @{}
    'vtctl debuglog write --for' = @{}
    'vtctl debuglog follow --lines' = @{}
    'vtctl debuglog follow --for' = @{}
    'vtctl registry get --view' = @{'32' = 'The 32-bit or the 64-bit view of the registry'; '64' = 'The 32-bit or the 64-bit view of the registry'; }
    'vtctl registry get --machine' = @{}
    'vtctl registry set --view' = @{'32' = 'The 32-bit or the 64-bit view of the registry'; '64' = 'The 32-bit or the 64-bit view of the registry'; }
    'vtctl registry set --machine' = @{}
    'vtctl registry set --type' = @{'sz' = 'sz (if not given), expand, dword, binary or multi'; 'expand' = 'sz (if not given), expand, dword, binary or multi'; 'dword' = 'sz (if not given), expand, dword, binary or multi'; 'binary' = 'sz (if not given), expand, dword, binary or multi'; 'multi' = 'sz (if not given), expand, dword, binary or multi'; }
    'vtctl registry list --view' = @{'32' = 'The 32-bit or the 64-bit view of the registry'; '64' = 'The 32-bit or the 64-bit view of the registry'; }
    'vtctl registry list --machine' = @{}
    'vtctl registry watch --view' = @{'32' = 'The 32-bit or the 64-bit view of the registry'; '64' = 'The 32-bit or the 64-bit view of the registry'; }
    'vtctl registry watch --machine' = @{}
    'vtctl registry watch --count' = @{}
    'vtctl registry watch --for' = @{}
    'vtctl replicate --for' = @{}
    'vtctl identity --timeout' = @{}
    'vtctl convert --to' = @{'netbios' = 'netbios, dns, fqdn or ip'; 'dns' = 'netbios, dns, fqdn or ip'; 'fqdn' = 'netbios, dns, fqdn or ip'; 'ip' = 'netbios, dns, fqdn or ip'; }
    'vtctl resolve --timeout' = @{}
    'vtctl adv show --server' = @{}
    'vtctl adv show --user' = @{}
    'vtctl adv enable --server' = @{}
    'vtctl adv enable --user' = @{}
    'vtctl adv disable --server' = @{}
    'vtctl adv disable --user' = @{}
    'vtctl adv add --server' = @{}
    'vtctl adv add --user' = @{}
    'vtctl adv purge --server' = @{}
    'vtctl adv purge --user' = @{}
    'vtctl adv publish --server' = @{}
    'vtctl adv publish --user' = @{}
    'vtctl adv unpublish --server' = @{}
    'vtctl adv unpublish --user' = @{}
    'vtctl adv interval --server' = @{}
    'vtctl adv interval --user' = @{}
    'vtctl adv discovery --server' = @{}
    'vtctl adv discovery --user' = @{}
    'vtctl adv now --server' = @{}
    'vtctl adv now --user' = @{}
    'vtctl adv watch --server' = @{}
    'vtctl adv watch --user' = @{}
    'vtctl adv watch --for' = @{}
    'vtctl apps --instance' = @{}
    'vtctl apps --need' = @{'sqlserver' = 'sqlserver or exchange: the exit code tells whether this one runs'; 'exchange' = 'sqlserver or exchange: the exit code tells whether this one runs'; }
    'vtctl database --application' = @{}
    'vtctl settings list --key' = @{'logging' = 'Only the values of one key: logging or debug'; 'debug' = 'Only the values of one key: logging or debug'; }
    'vtctl settings get --key' = @{'logging' = 'Only the values of one key: logging or debug'; 'debug' = 'Only the values of one key: logging or debug'; }
    'vtctl settings set --key' = @{'logging' = 'Only the values of one key: logging or debug'; 'debug' = 'Only the values of one key: logging or debug'; }
    'vtctl settings unset --key' = @{'logging' = 'Only the values of one key: logging or debug'; 'debug' = 'Only the values of one key: logging or debug'; }
    'vtctl settings watch --key' = @{'logging' = 'Only the values of one key: logging or debug'; 'debug' = 'Only the values of one key: logging or debug'; }
    'vtctl settings watch --for' = @{}
    'vtctl sgmon watch --for' = @{}
    'vtctl volumes --for' = @{}
    'vtctl volumes --step' = @{}
    'vtctl doctor --only' = @{}
    'vtctl doctor --timeout' = @{}
  }
  $common = @{'--help' = 'Print this help and end'; '--product' = '1 for the sibling product''s registry root'; '--quiet' = 'Print nothing but errors; the exit code tells'; '--no-color' = 'Print without colours, as with NO_COLOR set'; '--json' = 'Print JSON where the command can'; }
  $command = 'vtctl'
  $before = ''
  foreach ($element in ($line.CommandElements | Select-Object -Skip 1)) {
    if ($element.Extent.EndOffset -ge $position) { break }
    $before = $element.Extent.Text
    if ($words.ContainsKey("$command $before")) { $command = "$command $before" }
  }
  $choices = $words[$command]
  if ($values.ContainsKey("$command $before")) {
    $choices = $values["$command $before"]
  } elseif ($word.StartsWith('-')) {
    $choices = $options[$command] + $common
  }
  $choices.GetEnumerator() | Where-Object { $_.Key.StartsWith($word) } | ForEach-Object {
    [System.Management.Automation.CompletionResult]::new($_.Key, $_.Key, 'ParameterValue', $_.Value)
  }
}
