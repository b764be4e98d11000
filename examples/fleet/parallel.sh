#!/bin/sh
# Checks a fleet on the machines that GNU parallel reaches over ssh: each job is a shard. A job that was ended is
# started again and goes on where it stopped. All machines share the current folder.
#
#   parallel.sh MACHINES SHARDS LIST RESULTS_FOLDER OPTIONS_OF_FLEET...
#   gpon-validate fleet merge LIST RESULTS_FOLDER/*.jsonl -o results.jsonl
#
# MACHINES is as for parallel --sshlogin: host1,host2
machines=$1
shards=$2
list=$3
folder=$4
shift 4
mkdir -p "$folder"
seq "$shards" | parallel --quote --sshlogin "$machines" --workdir "$PWD" --jobs 1 --retries 5 sh -c '
    part=$1 shards=$2 list=$3 folder=$4
    shift 4
    gpon-validate fleet "$list" --shard "$part/$shards" -o "$folder/$part.jsonl" --resume "$@"
    [ $? -le 4 ]' fleet {} "$shards" "$list" "$folder" "$@"
