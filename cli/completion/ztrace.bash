# (c) the ztrace developers. Licence: see LICENSE.
# Completion of ztrace for bash.

_ztrace() {
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]}
    # "--option=value" arrives in three words.
    if [[ $word == = ]]; then
        word=
    elif [[ $before == = && $COMP_CWORD -ge 2 ]]; then
        before=${COMP_WORDS[COMP_CWORD - 2]}
    fi
    local engine="monochrome numberofcolors mincolorratio colorquantcycles colorsampling blurradius
        blurdelta pathomit ltres qtres alphathreshold brightnessthreshold"
    local choices=
    case $before in
        -p | --preset)
            choices=$("${COMP_WORDS[0]}" presets 2> /dev/null | cut -d' ' -f1)
            ;;
        -f | --format) choices="svg dxf pdf png json" ;;
        -u | --units) choices="px mm in" ;;
        --method) choices="ink flat blend" ;;
        --threshold) choices="auto otsu adaptive" ;;
        --dpi) choices="auto 72 96 150 300 600" ;;
        --page) choices="all 1" ;;
        --upsample) choices="auto 1 2 3 4" ;;
        --dxf-curves) choices="spline arc polyline" ;;
        --dxf-version) choices="2004 2000 r12" ;;
        --progress) choices="auto always never" ;;
        --set)
            compopt -o nospace
            choices=$(for name in $engine; do echo "$name="; done)
            ;;
        -c | --colors | -t | --tolerance | --curve-tolerance | --seed | --min-path | --scale | \
            --stroke-width | --decimals | --despeckle | --dxf-tolerance | --background | --only-color)
            return
            ;;
        *)
            if [[ $word == -* ]]; then
                choices="--output --format --dpi --units --layers --outline --stroke-width --decimals
                    --scale --dxf-curves --dxf-tolerance --dxf-version --preset --method --colors
                    --palette --background --threshold --deskew --despeckle --page --upsample --raw --set
                    --seed --min-path --tolerance --curve-tolerance --no-frame --no-seams --only-color --transparent
                    --config --stats --json --progress --quiet --help --version"
            else
                compopt -o filenames 2> /dev/null
                mapfile -t COMPREPLY < <(compgen -f -- "$word")
                [[ $COMP_CWORD -eq 1 && presets == "$word"* ]] && COMPREPLY+=(presets)
                return
            fi
            ;;
    esac
    mapfile -t COMPREPLY < <(compgen -W "$choices" -- "$word")
}

complete -F _ztrace ztrace
