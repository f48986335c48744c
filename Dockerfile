# All tools on a Debian 12, for any system that runs containers. The tree itself is mounted:
#   docker build -t norvak .
#   docker run --rm -it --init -v "$PWD:/norvak" norvak scripts/demo
FROM debian:12
COPY scripts/lib /tools/lib
RUN /tools/lib/bootstrap && /tools/lib/nsis && /tools/lib/signer && rm -rf /var/lib/apt/lists/* && git config --system --add safe.directory /norvak
WORKDIR /norvak
CMD ["scripts/test"]
