#!/bin/sh
# Checks a fleet as a job array of Slurm: each task is a shard. A task that was ended is requeued and goes on where it
# stopped. All nodes share the current folder.
#
#   sbatch --array=1-8 slurm.sh LIST RESULTS_FOLDER OPTIONS_OF_FLEET...
#   gpon-validate fleet merge LIST RESULTS_FOLDER/*.jsonl -o results.jsonl
#
#SBATCH --job-name=fleet --requeue --open-mode=append --cpus-per-task=1
list=$1
folder=$2
shift 2
mkdir -p "$folder"
gpon-validate fleet "$list" --shard "$SLURM_ARRAY_TASK_ID/$SLURM_ARRAY_TASK_COUNT" --jobs "${SLURM_CPUS_PER_TASK:-1}" \
    -o "$folder/$SLURM_ARRAY_TASK_ID.jsonl" --resume "$@"
[ $? -le 4 ] || exec scontrol requeue "$SLURM_JOB_ID" # Up to 4 it is the result of a card.
