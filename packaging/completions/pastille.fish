# fish completion for pastille

set -l commands repair scan list check

function __pastille_stores
    __fish_complete_suffix .pst
    __fish_complete_suffix .ost
end

function __pastille_code_pages
    printf '%s\n' windows-{1250,1251,1252,1253,1254,1255,1256,1257,1258,874} shift_jis gb18030 euc-kr big5 koi8-r
end

complete -c pastille -f
complete -c pastille -s h -l help -d 'Print the options and exit'
complete -c pastille -n "not __fish_seen_subcommand_from $commands" -l version -d 'Print the version and exit'

complete -c pastille -n "not __fish_seen_subcommand_from $commands" -a repair -d 'Recover a damaged store into a new one'
complete -c pastille -n "not __fish_seen_subcommand_from $commands" -a scan -d 'Tell what a repair would bring'
complete -c pastille -n "not __fish_seen_subcommand_from $commands" -a list -d 'Show folders, or the items of one'
complete -c pastille -n "not __fish_seen_subcommand_from $commands" -a check -d 'Tell what breaks the rules of the file format'

complete -c pastille -n "__fish_seen_subcommand_from $commands" -k -a '(__pastille_stores)'
complete -c pastille -n "__fish_seen_subcommand_from $commands" -l json -d 'Print the result as one JSON object'
complete -c pastille -n '__fish_seen_subcommand_from repair scan' -l smart -d 'Also items that nothing refers to any more'
complete -c pastille -n '__fish_seen_subcommand_from repair scan' -l quiet -d 'Show no progress'
complete -c pastille -n '__fish_seen_subcommand_from repair scan list' -l code-page -x -a '(__pastille_code_pages)' -d 'Code page of 8-bit texts'
complete -c pastille -n '__fish_seen_subcommand_from repair' -l to -x -a '(__fish_complete_directories)' -d 'Folder for the new store'
complete -c pastille -n '__fish_seen_subcommand_from repair' -l complete -d 'Every item of any class with all its properties'
complete -c pastille -n '__fish_seen_subcommand_from repair' -l kind -x -a 'pst ost' -d 'What the source is'
complete -c pastille -n '__fish_seen_subcommand_from repair' -l verify -d 'Check the new store in the end'
complete -c pastille -n '__fish_seen_subcommand_from list' -l folder -x -d 'Show the items of this folder'
