# Runs all test programs of this kit on this Windows, compares what they say with what they said under
# Wine (expectations.txt), and writes one file to send back, report.txt:
#
#   powershell -ExecutionPolicy Bypass -File run-on-windows.ps1
#
# Nothing has to be installed. Take a machine that serves nobody, and an administrator's account: tests
# make and remove services, registry keys and files. PowerShell 5.1, which every Windows Server since
# 2016 has, is enough.
param([int]$LimitSeconds = 900)
$ErrorActionPreference = 'Stop'

$here = Split-Path -Parent $MyInvocation.MyCommand.Path
$bin = Join-Path $here 'bin'
$results = Join-Path $here 'results'
$nothing = Join-Path $results 'nothing.txt'
$report = Join-Path $here 'report.txt'
New-Item -ItemType Directory -Force -Path $results | Out-Null
Set-Content -Path $nothing -Value ''

# What the machine is, because answers differ between releases.
function Get-Machine {
    $system = Get-CimInstance Win32_OperatingSystem
    $identity = [Security.Principal.WindowsIdentity]::GetCurrent()
    $isAdministrator = (New-Object Security.Principal.WindowsPrincipal $identity).IsInRole(
        [Security.Principal.WindowsBuiltInRole]::Administrator)
    "system           $($system.Caption) $($system.Version)"
    foreach ($library in 'ucrtbase.dll', 'msvcrt.dll', 'ntdll.dll') {
        $path = Join-Path ([Environment]::SystemDirectory) $library
        if (Test-Path $path) { "{0,-16} {1}" -f $library, (Get-Item $path).VersionInfo.ProductVersion }
    }
    "language         $((Get-Culture).Name), ANSI code page $([Text.Encoding]::Default.CodePage)"
    "administrator    $isAdministrator"
    "in a domain      $((Get-CimInstance Win32_ComputerSystem).PartOfDomain)"
}

# Runs a program with its output in a file. Returns how it ended.
function Invoke-Program([string]$name) {
    $output = Join-Path $results "$name.txt"
    $process = Start-Process -FilePath (Join-Path $bin "$name.exe") -ArgumentList '--gtest_color=no' `
        -WorkingDirectory $bin -NoNewWindow -PassThru -RedirectStandardInput $nothing `
        -RedirectStandardOutput $output -RedirectStandardError "$output.errors"
    $null = $process.Handle  # without it the exit code gets lost
    if (-not $process.WaitForExit($LimitSeconds * 1000)) {
        $process.Kill()
        return "no end within $LimitSeconds seconds"
    }
    $process.WaitForExit()
    return "exit code $($process.ExitCode)"
}

# What each test of a program's output came to: passed, skipped or FAILED.
function Get-Results([string]$name) {
    $words = @{ 'OK' = 'passed'; 'SKIPPED' = 'skipped'; 'FAILED' = 'FAILED' }
    $found = @{}
    foreach ($line in Get-Content (Join-Path $results "$name.txt")) {
        if ($line -match '\[ +(OK|SKIPPED|FAILED) +\] ([^ ,]+).* \(\d+ ms\)$') {
            $found[$Matches[2]] = $words[$Matches[1]]
        }
    }
    return $found
}

# A line of expectations.txt: program, test, passed | wine | skipped, and the rest: which calls of the
# library a test plays or watches, or why it was skipped.
$expected = @{}
foreach ($line in Get-Content (Join-Path $here 'expectations.txt')) {
    $program, $test, $result, $rest = $line -split ' ', 4
    if (-not $expected.ContainsKey($program)) { $expected[$program] = @() }
    $expected[$program] += , @($test, $result, $rest)
}

$counts = [ordered]@{ 'passed as under Wine, by what this system answers' = 0
    'passed as under Wine, with calls that the test plays or watches' = 0
    'passed, and could not be seen under Wine' = 0
    'skipped as under Wine' = 0; 'skipped here alone' = 0; 'DIFFER' = 0 }
$first = @(); $differ = @(); $skipped = @(); $ends = @(); $outputs = @()
foreach ($program in $expected.Keys | Sort-Object) {
    Write-Host $program
    $end = Invoke-Program $program
    $ends += "{0,-32} {1}" -f $program, $end
    $found = Get-Results $program
    $differs = $end -ne 'exit code 0'
    if ($differs) { $differ += "${program}: $end" }
    foreach ($row in $expected[$program]) {
        $test, $result, $rest = $row
        $actual = $found[$test]
        if (-not $actual) { $actual = 'did not end' }
        $line = "$program $test"
        if ($actual -eq 'passed') {
            if ($result -ne 'passed') {
                $counts['passed, and could not be seen under Wine']++
                $first += "$line ($rest)"
            } elseif ($rest) {
                $counts['passed as under Wine, with calls that the test plays or watches']++
            } else {
                $counts['passed as under Wine, by what this system answers']++
            }
        } elseif ($actual -eq 'skipped' -and $result -ne 'passed') {
            $counts['skipped as under Wine']++
            $skipped += "$line ($rest)"
        } elseif ($actual -eq 'skipped') {
            $counts['skipped here alone']++
            $skipped += "$line (here alone)"
        } else {
            $counts['DIFFER']++
            $differ += "${line}: under Wine $result, here $actual. $rest"
            $differs = $true
        }
        $found.Remove($test)
    }
    foreach ($test in $found.Keys) { $differ += "$program ${test}: not expected, here $($found[$test])" }
    if ($differs) {
        $outputs += "--- $program", (Get-Content (Join-Path $results "$program.txt")),
            (Get-Content (Join-Path $results "$program.txt.errors"))
    }
}

$lines = @(Get-Content (Join-Path $here 'kit.txt')) + (Get-Machine) + ''
foreach ($name in $counts.Keys) { $lines += "{0,5} {1}" -f $counts[$name], $name }
$lines += '', 'What differs:', $differ, '', 'Seen here for the first time:', $first, '', 'Skipped:', $skipped,
    '', 'Programs:', $ends, '', 'Output of the programs with differences:', $outputs
# Twice, because the output of a program is a list in a list.
$lines | ForEach-Object { $_ } | ForEach-Object { $_ } | Out-File -FilePath $report -Encoding utf8 -Width 4096
Write-Host "Please send back $report"
if ($differ.Count -ne 0) { exit 1 }
