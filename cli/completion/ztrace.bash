# (c) the ztrace developers. Licence: see LICENSE.
# Completion of ztrace for bash. Made from the table of options by scripts/update-manuals.sh.

_ztrace() {
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]}
    # "--option=value" arrives in three words.
    if [[ $word == = ]]; then
        word=
    elif [[ $before == = && $COMP_CWORD -ge 2 ]]; then
        before=${COMP_WORDS[COMP_CWORD - 2]}
    fi
    local choices= offer_files=
    case $before in
        -o | --output) offer_files=yes ;;
        -f | --format) choices="svg dxf pdf png json geojson topojson" ;;
        --stroke-width) choices="" ;;
        --decimals) choices="exact 1 2 3" ;;
        --scale) choices="" ;;
        --dxf-curves) choices="spline arc polyline" ;;
        --dxf-tolerance) choices="" ;;
        --dxf-version) choices="2004 2000 r12" ;;
        --dpi) choices="auto 72 96 150 300 600" ;;
        -u | --units) choices="px mm in" ;;
        -p | --preset) choices=$("${COMP_WORDS[0]}" presets 2> /dev/null | cut -d' ' -f1) ;;
        --method) choices="ink flat blend" ;;
        -c | --colors) choices="" ;;
        --detail) choices="" ;;
        --palette) offer_files=yes ;;
        --background) choices="" ;;
        --threshold) choices="auto otsu adaptive" ;;
        --despeckle) choices="" ;;
        --page) choices="all 1" ;;
        --upsample) choices="auto 1 2 3 4" ;;
        --fit) choices="auto fair engine" ;;
        --snap) choices="none joints all" ;;
        --set) compopt -o nospace; choices="monochrome= numberofcolors= mincolorratio= colorquantcycles= colorsampling= blurradius= blurdelta= pathomit= ltres= qtres= alphathreshold= brightnessthreshold=" ;;
        --seed) choices="" ;;
        --min-path) choices="" ;;
        -t | --tolerance) choices="" ;;
        --curve-tolerance) choices="" ;;
        --only-color) choices="" ;;
        --config) offer_files=yes ;;
        --progress) choices="auto always never" ;;
        --max-pixels) choices="" ;;
        --max-memory) choices="" ;;
        --time-limit) choices="" ;;
        --out) offer_files=yes ;;
        --names) offer_files=yes ;;
        --formats) choices="svg dxf pdf png json geojson topojson" ;;
        --pattern) offer_files=yes ;;
        --files-from) offer_files=yes ;;
        --manifest) offer_files=yes ;;
        -j | --jobs) choices="auto 1 2 4 8" ;;
        --memory-limit) choices="" ;;
        --retry) choices="failed" ;;
        --results) offer_files=yes ;;
        --flag-below) choices="" ;;
        --chunk) choices="1/2 2/2" ;;
        --leases) choices="none 16 64" ;;
        --watch) offer_files=yes ;;
        --report) offer_files=yes ;;
        --csv) offer_files=yes ;;
        --premis) offer_files=yes ;;
        *)
            if [[ $word == -* ]]; then
                choices="--output
                    --format
                    --overwrite
                    --no-clobber
                    --layers
                    --outline
                    --stroke-width
                    --decimals
                    --scale
                    --dxf-curves
                    --dxf-tolerance
                    --dxf-join
                    --dxf-version
                    --dpi
                    --units
                    --preset
                    --method
                    --colors
                    --detail
                    --gradients
                    --no-gradients
                    --palette
                    --background
                    --threshold
                    --deskew
                    --despeckle
                    --page
                    --upsample
                    --fit
                    --snap
                    --strokes
                    --edges
                    --raw
                    --set
                    --seed
                    --min-path
                    --tolerance
                    --curve-tolerance
                    --no-frame
                    --no-seams
                    --only-color
                    --transparent
                    --config
                    --stats
                    --json
                    --progress
                    --max-pixels
                    --max-memory
                    --time-limit
                    --quiet
                    --help
                    --version
                    --out
                    --names
                    --formats
                    --recursive
                    --pattern
                    --files-from
                    --manifest
                    --jobs
                    --memory-limit
                    --retry
                    --dry-run
                    --fail-fast
                    --results
                    --no-check
                    --flag-below
                    --chunk
                    --leases
                    --watch
                    --report
                    --csv
                    --premis"
            else
                offer_files=yes
            fi
            ;;
    esac
    if [[ $offer_files ]]; then
        compopt -o filenames 2> /dev/null
        mapfile -t COMPREPLY < <(compgen -f -- "$word")
        [[ $COMP_CWORD -eq 1 ]] && mapfile -t -O ${#COMPREPLY[@]} COMPREPLY < <(compgen -W "batch formats presets" -- "$word")
        return
    fi
    mapfile -t COMPREPLY < <(compgen -W "$choices" -- "$word")
}

complete -F _ztrace ztrace
