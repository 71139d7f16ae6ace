# Completion of wmihost for PowerShell. In $PROFILE:
#   wmihost completion powershell | Out-String | Invoke-Expression
# or, where scripts may run, a dot, a blank and the path of this file.
Register-ArgumentCompleter -Native -CommandName 'wmihost', 'wmihost.exe' -ScriptBlock {
    param($wordToComplete, $commandAst, $cursorPosition)
    $options = @{
        '' = '--help', '--mof', '--namespace', '--quiet', '--service', '--synchronous', '--version'
        'classes' = '--format', '--help', '--mof', '--namespace', '--quiet', '--service', '--synchronous', '--version'
        'describe' = '--format', '--help', '--mof', '--namespace', '--quiet', '--service', '--synchronous', '--version'
        'list' = '--format', '--help', '--impersonation', '--mof', '--namespace', '--property', '--quiet', '--repeat', '--service', '--synchronous', '--threads', '--version', '--where'
        'get' = '--format', '--help', '--impersonation', '--mof', '--namespace', '--property', '--quiet', '--repeat', '--service', '--synchronous', '--threads', '--version'
        'query' = '--format', '--help', '--impersonation', '--local', '--mof', '--namespace', '--quiet', '--service', '--synchronous', '--version'
        'related' = '--format', '--help', '--impersonation', '--local', '--mof', '--namespace', '--quiet', '--references', '--service', '--synchronous', '--version', '--where'
        'set' = '--format', '--help', '--impersonation', '--mof', '--namespace', '--quiet', '--service', '--synchronous', '--version'
        'delete' = '--help', '--impersonation', '--mof', '--namespace', '--quiet', '--service', '--synchronous', '--version'
        'invoke' = '--format', '--help', '--impersonation', '--mof', '--namespace', '--quiet', '--service', '--synchronous', '--version', '--wait'
        'watch' = '--count', '--help', '--impersonation', '--interval', '--mof', '--namespace', '--property', '--quiet', '--service', '--synchronous', '--version', '--where'
        'metrics' = '--count', '--every', '--help', '--impersonation', '--mof', '--namespace', '--output', '--quiet', '--service', '--synchronous', '--version'
        'self-test' = '--help', '--impersonation', '--mof', '--namespace', '--quiet', '--service', '--synchronous', '--version'
        'shell' = '--help', '--mof', '--namespace', '--quiet', '--service', '--synchronous', '--version'
        'completion' = '--help', '--mof', '--namespace', '--quiet', '--service', '--synchronous', '--version'
    }
    $choices = @{
        'classes -f' = 'table', 'json', 'mof', 'csv'
        'classes --format' = 'table', 'json', 'mof', 'csv'
        'describe -f' = 'table', 'json', 'mof', 'markdown'
        'describe --format' = 'table', 'json', 'mof', 'markdown'
        'list -f' = 'table', 'json', 'mof', 'csv'
        'list --format' = 'table', 'json', 'mof', 'csv'
        'list --impersonation' = 'none', 'anonymous', 'identify', 'impersonate', 'delegate'
        'get -f' = 'table', 'json', 'mof', 'csv'
        'get --format' = 'table', 'json', 'mof', 'csv'
        'get --impersonation' = 'none', 'anonymous', 'identify', 'impersonate', 'delegate'
        'query -f' = 'table', 'json', 'mof', 'csv'
        'query --format' = 'table', 'json', 'mof', 'csv'
        'query --impersonation' = 'none', 'anonymous', 'identify', 'impersonate', 'delegate'
        'related -f' = 'table', 'json', 'mof', 'csv'
        'related --format' = 'table', 'json', 'mof', 'csv'
        'related --impersonation' = 'none', 'anonymous', 'identify', 'impersonate', 'delegate'
        'set -f' = 'table', 'json', 'mof', 'csv'
        'set --format' = 'table', 'json', 'mof', 'csv'
        'set --impersonation' = 'none', 'anonymous', 'identify', 'impersonate', 'delegate'
        'delete --impersonation' = 'none', 'anonymous', 'identify', 'impersonate', 'delegate'
        'invoke -f' = 'table', 'json', 'mof', 'csv'
        'invoke --format' = 'table', 'json', 'mof', 'csv'
        'invoke --impersonation' = 'none', 'anonymous', 'identify', 'impersonate', 'delegate'
        'watch --impersonation' = 'none', 'anonymous', 'identify', 'impersonate', 'delegate'
        'metrics --impersonation' = 'none', 'anonymous', 'identify', 'impersonate', 'delegate'
        'self-test --impersonation' = 'none', 'anonymous', 'identify', 'impersonate', 'delegate'
    }
    $withClass = 'describe', 'list', 'watch'
    $words = @($commandAst.CommandElements | ForEach-Object { $_.ToString() })
    $before = @($words | Select-Object -Skip 1)
    if ($wordToComplete) { $before = @($before | Select-Object -SkipLast 1) }
    $command = [string]($before | Where-Object { $_ -and $options.ContainsKey($_) } | Select-Object -First 1)
    $previous = [string]($before | Select-Object -Last 1)
    $candidates =
        if ($choices.ContainsKey("$command $previous")) { $choices["$command $previous"] }
        elseif ($wordToComplete -like '-*') { $options[$command] }
        elseif (-not $command) { $options.Keys | Where-Object { $_ } | Sort-Object }
        elseif ($withClass -contains $command) {
            & $words[0] classes --format csv | ConvertFrom-Csv | ForEach-Object { $_.Class }
        }
    $candidates | Where-Object { $_ -like "$wordToComplete*" } | ForEach-Object {
        [System.Management.Automation.CompletionResult]::new($_, $_, 'ParameterValue', $_)
    }
}
