#!/bin/sh
#SBATCH --array=1-16
#SBATCH --cpus-per-task=2
#SBATCH --time=02:00:00
# A part of the pictures for each task. SCANS and DRAWINGS: folders that every node sees. A part with pictures that cannot be
# traced is finished as well: exit code 1. This shell outlives the SIGTERM that lets ztrace finish its pictures of the moment.
trap : TERM
ztrace batch "${SCANS:-/data/scans}" --recursive --out "${DRAWINGS:-/data/drawings}" --quiet \
    --jobs "${SLURM_CPUS_PER_TASK:-1}" --chunk "$SLURM_ARRAY_TASK_ID/$SLURM_ARRAY_TASK_COUNT" || [ $? -eq 1 ]
