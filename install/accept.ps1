<#
.SYNOPSIS
    Tries the DRAVEv2 Provider on this machine, from its installation to its removal.
.DESCRIPTION
    THIS SCRIPT HAS NOT RUN YET. Its author had no Windows machine: only its grammar has been checked. For the
    first run use a machine that may break, and report every line that begins with FAIL.

    Prints a line for each check: "ok", "FAIL" with the result, or "skip" with the missing parameter. The exit code
    is the number of failed checks. The product must not be installed when the script starts, and is not when it ends.
    Close other programs that use the provider first.
.PARAMETER Package
    The installer to try, ZerixDRAVEv2-<version>-x64.msi.
.PARAMETER LowerBuild
    An installer whose version differs from the first one's only in the fourth number, which is lower.
.PARAMETER Adapter
    The name of an adapter that may be switched off for some seconds. Not the one that you are connected through.
.PARAMETER PlainUser
    The credentials of a local user who is not an administrator.
.EXAMPLE
    powershell -ExecutionPolicy Bypass -File .\accept.ps1 -Package .\ZerixDRAVEv2-2.0.1.10-x64.msi -Adapter 'Ethernet 2'
#>
#Requires -Version 5.1
#Requires -RunAsAdministrator
[CmdletBinding()]
param(
    [Parameter(Mandatory = $true)] [string] $Package,
    [string] $LowerBuild,
    [string] $Adapter,
    [pscredential] $PlainUser
)
Set-StrictMode -Version 2
$ErrorActionPreference = 'Stop'

$space = 'root/DCIM/vexal'
$provider = 'ZerixDRAVEv2Provider'
$folder = Join-Path $env:ProgramFiles 'Vexal\DRAVEv2 Provider'
$settingsKey = 'HKLM:\Software\Vexal\DRAVEv2'
$serverKey = 'HKLM:\Software\Classes\CLSID\{D39A94C6-35D2-4B40-BB6A-56E279951017}\InprocServer32'
$eventKey = 'HKLM:\SYSTEM\CurrentControlSet\Services\EventLog\Application\Vexal DRAVEv2 Provider'
$logs = Join-Path $env:TEMP 'drave-acceptance'
$script:failures = 0
$script:installed = $null
$script:hostProcess = 0

# Runs a check and writes its line. The check throws what it saw if that is not as expected. Its return value is
# written after "ok".
function Test-That([string] $Name, [scriptblock] $Check) {
    try {
        $seen = & $Check
        Write-Output ("ok    ${Name}: $seen".TrimEnd(': '))
    } catch {
        $script:failures++
        Write-Output "FAIL  ${Name}: $($_.Exception.Message)"
    }
}

function Skip-Check([string] $Name, [string] $Parameter) {
    Write-Output "skip  ${Name}: needs -$Parameter"
}

function Assert-That([bool] $Condition, [string] $Seen) {
    if (-not $Condition) {
        throw $Seen
    }
}

# Runs Windows Installer silently. Exit code 3010: done, but a restart of the machine is required.
function Invoke-Installer([string] $Option, [string] $File) {
    $log = Join-Path $logs ('{0:HHmmssfff}.log' -f (Get-Date))
    $arguments = @($Option, "`"$File`"", '/qn', '/l*v', "`"$log`"")
    $process = Start-Process -FilePath msiexec.exe -ArgumentList $arguments -Wait -PassThru
    Assert-That ($process.ExitCode -in 0, 3010) "msiexec $Option ended with $($process.ExitCode); see $log"
    return $process.ExitCode
}

function Install-Product([string] $File) {
    $code = Invoke-Installer '/i' $File
    $script:installed = $File
    return $code
}

function Get-Zerix([string] $Class) {
    return @(Get-CimInstance -Namespace $space -ClassName $Class)
}

# The host processes in which WMI runs the provider, with their other providers.
function Get-HostedProvider {
    $all = @(Get-CimInstance -Namespace root/cimv2 -ClassName Msft_Providers)
    $ids = @($all | Where-Object { $_.provider -eq $provider } | ForEach-Object { $_.HostProcessIdentifier })
    return @($all | Where-Object { $ids -contains $_.HostProcessIdentifier })
}

function Wait-Until([scriptblock] $Condition, [int] $Seconds) {
    $end = (Get-Date).AddSeconds($Seconds)
    while (-not (& $Condition)) {
        if ((Get-Date) -gt $end) {
            return $false
        }
        Start-Sleep -Milliseconds 500
    }
    return $true
}

function Get-FileVersion([string] $Name) {
    return (Get-Item -LiteralPath (Join-Path $folder $Name)).VersionInfo.FileVersion
}

# The access rules that let ordinary users change the item at the path.
function Get-UserWriteRule([string] $Path) {
    $ordinary = 'S-1-5-32-545', 'S-1-5-11', 'S-1-1-0', 'S-1-5-4'
    $rules = (Get-Acl -LiteralPath $Path).GetAccessRules($true, $true, [System.Security.Principal.SecurityIdentifier])
    return @($rules | Where-Object {
            $rights = if ($_ -is [System.Security.AccessControl.RegistryAccessRule]) { $_.RegistryRights } else { $_.FileSystemRights }
            # Set values or write data; create keys or files; delete; change the access rights.
            $_.AccessControlType -eq 'Allow' -and $ordinary -contains $_.IdentityReference.Value -and
                ([int64] $rights -band 0x000D0006) -ne 0
        })
}

function Test-Installation {
    Test-That 'installation' {
        $code = Install-Product $Package
        foreach ($name in 'ZerixDRAVEv2Provider.dll', 'ZerixCimCore.dll', 'ZerixRuntime.dll', 'wmihost.exe', 'LICENSE.txt') {
            Assert-That (Test-Path -LiteralPath (Join-Path $folder $name)) "$name is missing"
        }
        "msiexec ended with $code"
    }
    Test-That 'MOF syntax' {
        $compiler = Join-Path $env:SystemRoot 'System32\wbem\mofcomp.exe'
        $text = & $compiler -check (Join-Path $folder 'ZerixDRAVEv2.mof') | Out-String
        Assert-That ($LASTEXITCODE -eq 0) "mofcomp -check ended with ${LASTEXITCODE}: $text"
    }
    Test-That 'rights of folder and keys' {
        foreach ($path in $folder, "$settingsKey\Jobs", "$settingsKey\Results") {
            $rules = Get-UserWriteRule $path
            Assert-That ($rules.Count -eq 0) "ordinary users may change $path"
        }
    }
}

function Test-Request {
    Test-That 'every class' {
        $start = Get-Date
        $mof = Select-String -LiteralPath (Join-Path $folder 'ZerixDRAVEv2.mof') -Pattern '^class (Zerix_\w+)'
        $counts = foreach ($class in $mof | ForEach-Object { $_.Matches[0].Groups[1].Value }) {
            $where = if ($class -eq 'Zerix_RegisteredProfile') { 'root/interop' } else { $space }
            '{0} {1}' -f $class, @(Get-CimInstance -Namespace $where -ClassName $class).Count
        }
        $filter = @{ LogName = 'Application'; ProviderName = 'Vexal DRAVEv2 Provider'; StartTime = $start }
        $events = @(Get-WinEvent -FilterHashtable $filter -ErrorAction SilentlyContinue)
        Assert-That ($events.Count -eq 0) "an error event: $(if ($events.Count) { $events[0].Message })"
        $counts -join ', '
    }
    Test-That 'own host process' {
        $hosted = Get-HostedProvider
        Assert-That ($hosted.Count -gt 0) 'WMI names no host of the provider'
        $others = @($hosted | Where-Object { $_.provider -ne $provider } | ForEach-Object { $_.provider })
        Assert-That ($others.Count -eq 0) "it shares its host with $($others -join ', ')"
        $script:hostProcess = $hosted[0].HostProcessIdentifier
        "process $script:hostProcess"
    }
    Test-That 'update' {
        $setting = (Get-Zerix 'Zerix_AdapterSetting')[0]
        $label = $setting.ElementName
        try {
            Set-CimInstance -InputObject $setting -Property @{ ElementName = 'acceptance' }
            $now = ($setting | Get-CimInstance).ElementName
            Assert-That ($now -eq 'acceptance') "the label is '$now'"
        } finally {
            Set-CimInstance -InputObject $setting -Property @{ ElementName = $label }
        }
    }
    Test-That 'short path' {
        $instance = [wmi] '\\.\root\DCIM\vexal:Zerix_DiagnosticSetting="Vexal:DiagnosticSetting"'
        Assert-That ($instance.InstanceID -eq 'Vexal:DiagnosticSetting') "got '$($instance.InstanceID)'"
    }
}

function Test-Method {
    foreach ($arguments in @{}, @{ Names = [string[]] @('*') }) {
        Test-That "RestoreDefaults with $($arguments.Count) arguments" {
            $setting = (Get-Zerix 'Zerix_DiagnosticSetting')[0]
            Set-CimInstance -InputObject $setting -Property @{ SampleCount = [uint16] 7 }
            $answer = Invoke-CimMethod -InputObject $setting -MethodName RestoreDefaults -Arguments $arguments
            $count = ($setting | Get-CimInstance).SampleCount
            Assert-That ($answer.ReturnValue -eq 0 -and $count -ne 7) "answer $($answer.ReturnValue), SampleCount $count"
        }
    }
    foreach ($arguments in @{}, @{ SampleCount = [uint16] 2 }) {
        Test-That "RunLinkDiagnostic with $($arguments.Count) arguments" {
            $port = (Get-Zerix 'Zerix_EthernetPort')[0]
            $answer = Invoke-CimMethod -InputObject $port -MethodName RunLinkDiagnostic -Arguments $arguments
            Assert-That ($answer.ReturnValue -eq 4096) "answer $($answer.ReturnValue)"
            $ended = { @(Get-Zerix 'Zerix_ConcreteJob' | Where-Object { $_.JobState -notin 7, 8, 9, 10 }).Count -eq 0 }
            Assert-That (Wait-Until $ended 120) 'the job did not end in two minutes'
        }
    }
    Test-That 'job stored' {
        $stored = { @(Get-ChildItem -LiteralPath "$settingsKey\Jobs").Count -gt 0 }
        Assert-That (Wait-Until $stored 10) 'there is no entry in the registry'
        $before = @((Get-Zerix 'Zerix_ConcreteJob') | ForEach-Object { $_.InstanceID } | Sort-Object)
        # Stored jobs remain after the host process has ended.
        Stop-Process -Id (Get-HostedProvider)[0].HostProcessIdentifier -Force
        $after = @((Get-Zerix 'Zerix_ConcreteJob') | ForEach-Object { $_.InstanceID } | Sort-Object)
        $script:hostProcess = (Get-HostedProvider)[0].HostProcessIdentifier
        Assert-That (($after -join ' ') -eq ($before -join ' ')) "before: $before; after: $after"
        Get-Zerix 'Zerix_ConcreteJob' | Remove-CimInstance
        Assert-That ((Get-Zerix 'Zerix_ConcreteJob').Count -eq 0) 'a deleted job is still there'
    }
}

function Test-Adapter {
    if (-not $Adapter) {
        Skip-Check 'adapter off and on' 'Adapter'
        return
    }
    Test-That 'adapter off and on' {
        $port = Get-Zerix 'Zerix_EthernetPort' | Where-Object { $_.Name -eq $Adapter }
        Assert-That ($null -ne $port) "there is no adapter '$Adapter'"
        try {
            $off = Invoke-CimMethod -InputObject $port -MethodName RequestStateChange -Arguments @{ RequestedState = [uint16] 3 }
            Assert-That ($off.ReturnValue -eq 0) "switching off answered $($off.ReturnValue)"
            $isOff = { (Get-NetAdapter -Name $Adapter).Status -eq 'Disabled' }
            Assert-That (Wait-Until $isOff 20) 'the system says that it is not off'
            $on = Invoke-CimMethod -InputObject $port -MethodName RequestStateChange -Arguments @{ RequestedState = [uint16] 2 }
            Assert-That ($on.ReturnValue -eq 0) "switching on answered $($on.ReturnValue)"
            $isOn = { (Get-NetAdapter -Name $Adapter).Status -ne 'Disabled' }
            Assert-That (Wait-Until $isOn 20) 'the system says that it is still off'
        } finally {
            Enable-NetAdapter -Name $Adapter -Confirm:$false
        }
    }
}

function Test-HostProcess {
    Test-That 'handles' {
        $process = Get-Process -Id $script:hostProcess
        Assert-That ($process.HandleCount -lt 4096) "$($process.HandleCount) handles; WMI ends the host at 4096"
        "$($process.HandleCount) handles"
    }
    Test-That 'host alive' {
        $ids = @(Get-HostedProvider | ForEach-Object { $_.HostProcessIdentifier })
        Assert-That ($ids -contains $script:hostProcess) "process $script:hostProcess is gone; now: $ids"
    }
}

function Test-PlainUser {
    if (-not $PlainUser) {
        Skip-Check 'plain user' 'PlainUser'
        return
    }
    Test-That 'plain user' {
        # Exits with 0 if it could change neither a file nor a setting.
        $work = @"
`$changed = 0
try { Set-Content -LiteralPath '$folder\planted.txt' -Value 'x' -ErrorAction Stop; `$changed++ } catch { }
try {
    `$setting = @(Get-CimInstance -Namespace $space -ClassName Zerix_DiagnosticSetting -ErrorAction Stop)[0]
    Set-CimInstance -InputObject `$setting -Property @{ SampleCount = [uint16] 9 } -ErrorAction Stop
    `$changed += 2
} catch { }
exit `$changed
"@
        $encoded = [Convert]::ToBase64String([Text.Encoding]::Unicode.GetBytes($work))
        $process = Start-Process -FilePath powershell.exe -ArgumentList '-NoProfile', '-EncodedCommand', $encoded `
            -Credential $PlainUser -WorkingDirectory $env:SystemRoot -Wait -PassThru
        Assert-That ($process.ExitCode -eq 0) "changed (1: a file, 2: a setting, 3: both): $($process.ExitCode)"
    }
}

function Test-Maintenance {
    Test-That 'repair' {
        Remove-Item -LiteralPath (Join-Path $folder 'LICENSE.txt')
        Remove-ItemProperty -LiteralPath $serverKey -Name ThreadingModel
        $null = Invoke-Installer '/famus' $script:installed
        Assert-That (Test-Path -LiteralPath (Join-Path $folder 'LICENSE.txt')) 'the file is not back'
        $model = (Get-ItemProperty -LiteralPath $serverKey).ThreadingModel
        Assert-That ($model -eq 'Both') "ThreadingModel is '$model'"
    }
    if (-not $LowerBuild) {
        Skip-Check 'lower build' 'LowerBuild'
        Skip-Check 'upgrade in use' 'LowerBuild'
        return
    }
    Test-That 'lower build' {
        $before = Get-FileVersion 'ZerixCimCore.dll'
        $null = Install-Product $LowerBuild
        $after = Get-FileVersion 'ZerixCimCore.dll'
        Assert-That ([version] $after -lt [version] $before) "version $before became $after"
        $null = Get-Zerix 'Zerix_EthernetPort'
        "$before became $after"
    }
    Test-That 'upgrade in use' {
        $setting = (Get-Zerix 'Zerix_AdapterSetting')[0]
        Set-CimInstance -InputObject $setting -Property @{ Tag = 'kept' }
        $arguments = 'watch', 'Zerix_EthernetPortStatistics'
        $user = Start-Process -FilePath (Join-Path $folder 'wmihost.exe') -ArgumentList $arguments -WindowStyle Hidden -PassThru
        try {
            $code = Install-Product $Package
        } finally {
            Stop-Process -Id $user.Id -Force -ErrorAction SilentlyContinue
        }
        $tag = ($setting | Get-CimInstance).Tag
        Assert-That ($tag -eq 'kept') "the tag is '$tag'"
        Set-CimInstance -InputObject $setting -Property @{ Tag = '' }
        "msiexec ended with $code"
    }
}

function Test-Removal {
    Test-That 'removal leaves nothing' {
        $code = Invoke-Installer '/x' $script:installed
        $script:installed = $null
        $left = @($folder, $serverKey, $eventKey, $settingsKey | Where-Object { Test-Path -LiteralPath $_ })
        foreach ($name in $space, 'root/interop') {
            $left += @(Get-CimClass -Namespace $name -ClassName 'Zerix_*' -ErrorAction SilentlyContinue |
                    ForEach-Object { $_.CimClassName })
            $left += @(Get-CimInstance -Namespace $name -ClassName __Win32Provider -ErrorAction SilentlyContinue |
                    Where-Object { $_.Name -eq $provider } | ForEach-Object { "$name provider" })
        }
        $restored = (Get-ItemProperty -LiteralPath 'HKLM:\SOFTWARE\Microsoft\WBEM\CIMOM').'Autorecover MOFs'
        $left += @($restored | Where-Object { $_ -like '*ZerixDRAVEv2*' })
        Assert-That ($left.Count -eq 0) "left (msiexec ended with $code): $($left -join ', ')"
    }
}

if (Test-Path -LiteralPath $serverKey) {
    Write-Error 'The product is installed. Remove it first: this script installs and removes it itself.'
}
$Package = (Resolve-Path -LiteralPath $Package).ProviderPath
if ($LowerBuild) {
    $LowerBuild = (Resolve-Path -LiteralPath $LowerBuild).ProviderPath
}
$null = New-Item -ItemType Directory -Path $logs -Force
try {
    Test-Installation
    if ($script:installed) {
        Test-Request
        Test-Method
        Test-Adapter
        Test-HostProcess
        Test-PlainUser
        Test-Maintenance
        Test-Removal
    }
} finally {
    if ($script:installed) {
        $null = Invoke-Installer '/x' $script:installed
    }
    if ($script:failures -eq 0) {
        Remove-Item -LiteralPath $logs -Recurse -Force
    } else {
        Write-Output "The installer's logs are in $logs."
    }
}
exit $script:failures
